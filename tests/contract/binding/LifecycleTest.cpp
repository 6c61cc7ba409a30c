// Loading and unloading of comc.dll, the client identifier, the open handles.
#include "tests/contract/binding/BindingFixture.h"

#include "tests/support/ImportHook.h"

using namespace kal::test;
using kal::OrxClient;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using FileNameHook = ImportHook<"GetModuleFileNameA", DWORD(HMODULE, char *, DWORD)>;
using LoadHook = ImportHook<"LoadLibraryA", HMODULE(const char *)>;

} // namespace

class Location : public Binding {
  protected:
    /// The path that is handed to LoadLibraryA when the library's own file name is this.
    std::string pathFor(const std::string &fileName) {
        const FileNameHook name(thisProgram(), [&](HMODULE, char *buffer, DWORD) {
            std::copy(fileName.begin(), fileName.end(), buffer);
            return static_cast<DWORD>(fileName.size());
        });
        makeClient("");
        std::string asked;
        const LoadHook load(thisProgram(), [&](const char *path) -> HMODULE {
            asked = path;
            SetLastError(ERROR_MOD_NOT_FOUND);
            return nullptr;
        });
        client->Resume();
        return asked;
    }
};

TEST_F(Location, LibraryIsLookedForBesideTheModule) {
    EXPECT_EQ(pathFor("C:\\Program Files\\Printing\\kalclient.dll"), "C:\\Program Files\\Printing\\comc.dll");
}

TEST_F(Location, LastBackslashCounts) {
    EXPECT_EQ(pathFor("\\\\host\\share\\x.dll\\kalclient.dll"), "\\\\host\\share\\x.dll\\comc.dll");
}

TEST_F(Location, FileNameWithoutBackslashGivesTheBareName) {
    EXPECT_EQ(pathFor("kalclient.dll"), "comc.dll");
    EXPECT_EQ(pathFor("C:/printing/kalclient.dll"), "comc.dll");
}

TEST_F(Location, UnreadableFileNameGivesTheBareName) {
    EXPECT_EQ(pathFor(""), "comc.dll");
}

TEST_F(Location, FileNameIsReadIntoAZeroedBufferOf261Bytes) {
    const FileNameHook name(thisProgram(), [&](HMODULE module, char *buffer, DWORD size) {
        EXPECT_EQ(module, thisProgram());
        EXPECT_EQ(size, 261u);
        EXPECT_EQ(std::string(buffer, 261), std::string(261, '\0'));
        return DWORD{0};
    });
    makeClient("");
    EXPECT_EQ(name.calls(), 1);
}

TEST_F(Binding, ConstructionLoadsNothing) {
    EXPECT_EQ(service.loads(), 0);
    EXPECT_THAT(service.sequence(), IsEmpty());
}

TEST_F(Binding, InitializeOnceAfterLoadAndUninitializeOnceBeforeUnload) {
    client->Resume();
    EXPECT_THAT(service.sequence(), ElementsAre("OrxInitialize", "OrxResume", "OrxUninitialize"));
    EXPECT_EQ(service.loads(), 1);
    EXPECT_EQ(service.unloads(), 1);
}

TEST_F(Binding, EachIdleOperationLoadsAnew) {
    client->Resume();
    client->Resume();
    EXPECT_EQ(service.loads(), 2);
    EXPECT_EQ(service.unloads(), 2);
}

TEST_F(Binding, HeldLibraryIsNotLoadedAgain) {
    hold();
    client->Resume();
    EXPECT_EQ(service.loads(), 1);
    EXPECT_THAT(service.sequence(), ElementsAre("OrxResume"));
}

TEST_F(Binding, MissingUninitializeStillUnloads) {
    service.lacks("OrxUninitialize");
    client->Resume();
    EXPECT_EQ(service.unloads(), 1);
}

TEST_F(Binding, ResultOfUninitializeIsIgnored) {
    service.answers("OrxUninitialize", 5);
    EXPECT_EQ(client->Resume(), 0u);
    EXPECT_EQ(service.unloads(), 1);
}

TEST_F(Binding, KeptLibraryStaysLoadedWhenIdle) {
    makeClient("", true);
    client->Resume();
    client->Resume();
    EXPECT_EQ(service.loads(), 1);
    EXPECT_TRUE(service.isLoaded());
    EXPECT_THAT(service.sequence(), ElementsAre("OrxInitialize", "OrxResume", "OrxResume"));
}

TEST_F(Binding, DestructionUnloadsAKeptLibrary) {
    makeClient("", true);
    client->Resume();
    service.forgetCalls();
    client.reset();
    EXPECT_FALSE(service.isLoaded());
    EXPECT_THAT(service.sequence(), ElementsAre("OrxUninitialize"));
}

TEST_F(Binding, DestructionUnloadsWhateverIsHeld) {
    open();
    open(0x17);
    hold();
    client.reset();
    EXPECT_EQ(service.unloads(), 1);
    EXPECT_THAT(service.sequence(), ElementsAre("OrxUninitialize"));
}

TEST_F(Binding, DestructionOfAnIdleClientCallsNothing) {
    client.reset();
    EXPECT_THAT(service.sequence(), IsEmpty());
    EXPECT_EQ(service.unloads(), 0);
}

TEST_F(Binding, MissingLibraryIsLookedForAnewByEachOperation) {
    removeComc();
    EXPECT_EQ(client->Resume(), 126u);
    stageComc(*folder, ComcFile::recording);
    EXPECT_EQ(client->Resume(), 0u);
}

TEST_F(Binding, LoadErrorIsWhatAcquireBindingAnswers) {
    const LoadHook load(thisProgram(), [](const char *) -> HMODULE {
        SetLastError(1455);
        return nullptr;
    });
    EXPECT_EQ(client->acquireBinding(), 1455u);
    EXPECT_EQ(client->Resume(), 126u);
    EXPECT_EQ(client->EnumPrinters(nullptr, nullptr, nullptr), 126u);
}

TEST_F(Binding, LoadThatFailsWithoutErrorIs126) {
    const LoadHook load(thisProgram(), [](const char *) -> HMODULE {
        SetLastError(0);
        return nullptr;
    });
    EXPECT_EQ(client->acquireBinding(), 126u);
    EXPECT_EQ(client->Resume(), 126u);
}

TEST_F(Binding, FileThatIsNoLibraryIs126) {
    removeComc();
    stageComc(*folder, ComcFile::notALibrary);
    EXPECT_EQ(client->OpenPrinter(handle), 126u);
    EXPECT_EQ(client->Discovery(nullptr, nullptr), 126u);
}

// --------------------------------------------------------------------------------- OrxInitialize missing or failing

TEST_F(Binding, FailedInitializeIs126AndFreesTheLibrary) {
    service.answers("OrxInitialize", 5);
    EXPECT_EQ(client->Discovery(nullptr, nullptr), 126u);
    EXPECT_EQ(service.unloads(), 1);
    EXPECT_THAT(service.sequence(), ElementsAre("OrxInitialize"));
}

TEST_F(Binding, FailedInitializeReportsTheLastErrorAndNotItsCode) {
    service.does("OrxInitialize", [](const ServiceCall &) {
        SetLastError(1114);
        return 5u;
    });
    EXPECT_EQ(client->acquireBinding(), 1114u);
}

TEST_F(Binding, FailedInitializeWithoutLastErrorIsStillAFailure) {
    service.does("OrxInitialize", [](const ServiceCall &) {
        SetLastError(0);
        return 5u;
    });
    EXPECT_EQ(client->acquireBinding(), 126u);
}

TEST_F(Binding, MissingInitializeIs126AndFreesTheLibrary) {
    service.lacks("OrxInitialize");
    EXPECT_EQ(client->OpenPrinter(handle), 126u);
    EXPECT_EQ(service.unloads(), 1);
    EXPECT_THAT(service.sequence(), IsEmpty());
}

TEST_F(Binding, MissingInitializeIs127ForAcquireBinding) {
    service.lacks("OrxInitialize");
    EXPECT_EQ(client->acquireBinding(), 127u);
}

TEST_F(Binding, OperationAfterFailedInitializeCountsAsLoadedAndFindsNoEntryPoint) {
    service.answersInTurn("OrxInitialize", {5});
    client->Resume();
    service.forgetCalls();
    EXPECT_EQ(client->Resume(), 127u);
    EXPECT_EQ(service.loads(), 1);
    EXPECT_THAT(service.sequence(), IsEmpty());
}

TEST_F(Binding, IdentifierIsNotFoundAfterFailedInitialize) {
    service.answersInTurn("OrxInitialize", {5});
    client->Resume();
    EXPECT_EQ(client->acquireBinding(), 127u);
    EXPECT_EQ(service.loads(), 1);
}

TEST_F(Binding, ReleasedModuleIsFreedOnlyOnce) {
    service.answersInTurn("OrxInitialize", {5});
    client->Resume();
    const ImportHook<"FreeLibrary", BOOL(HMODULE)> free(thisProgram(), [](HMODULE) { return TRUE; });
    client->Resume();
    client.reset();
    EXPECT_EQ(free.calls(), 0);
}

TEST_F(Binding, NothingIsLookedUpInAModuleThatIsBeingFreed) {
    std::vector<uint32_t> meanwhile;
    const ImportHook<"FreeLibrary", BOOL(HMODULE)> free(thisProgram(), [&](HMODULE module) {
        meanwhile.push_back(client->UnregisterForReportsHids()); // needs no reference
        return free.original(module);
    });
    client->Resume();
    client->install();
    service.answersInTurn("OrxInitialize", {5});
    client->Resume();
    EXPECT_THAT(meanwhile, ElementsAre(127u, 127u, 127u));
    EXPECT_EQ(service.count("OrxUnregisterForReportsHids"), 0u);
}

TEST_F(Binding, OperationAfterThatLoadsAnew) {
    service.answersInTurn("OrxInitialize", {5});
    EXPECT_EQ(client->Resume(), 126u);
    EXPECT_EQ(client->Resume(), 127u); // gives the one load reference back, so nothing counts as loaded any more
    EXPECT_EQ(client->Resume(), 0u);
    EXPECT_EQ(service.loads(), 2);
    expectIdle();
}

TEST_F(Binding, DestructionAfterFailedInitializeTouchesNothingReleased) {
    service.answersInTurn("OrxInitialize", {5});
    client->Resume();
    service.forgetCalls();
    client.reset();
    EXPECT_EQ(service.unloads(), 1);
    EXPECT_THAT(service.sequence(), IsEmpty());
}

// --------------------------------------------------------------------------------- client identifier

TEST_F(Binding, IdentifierIsAskedWithClearedPlaceAndServerName) {
    makeClient("");
    service.does("OrxGetClientId", [](const ServiceCall &call) {
        EXPECT_EQ(*call.pointer<uint32_t>(0), 0u);
        EXPECT_STREQ(call.pointer<char>(1), "");
        *call.pointer<uint32_t>(0) = 7;
        return 0u;
    });
    client->Discovery(nullptr, nullptr);
    EXPECT_EQ(service.lastCall("OrxDiscovery").number(0), 7u);
}

TEST_F(Binding, IdentifierIsAskedWithTheGivenServerName) {
    char name[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD size = sizeof name;
    ASSERT_TRUE(GetComputerNameA(name, &size));
    makeClient(name);
    client->Discovery(nullptr, nullptr);
    EXPECT_EQ(service.lastCall("OrxGetClientId").text(1), name);
}

TEST_F(Binding, HeldIdentifierIsNotAskedAgain) {
    open();
    client->Discovery(nullptr, nullptr);
    open(0x17);
    EXPECT_EQ(service.count("OrxGetClientId"), 0u);
}

TEST_F(Binding, ForgottenIdentifierIsAskedAgain) {
    client->Discovery(nullptr, nullptr);
    client->Discovery(nullptr, nullptr);
    EXPECT_EQ(service.count("OrxGetClientId"), 2u);
    EXPECT_EQ(service.lastCall("OrxDiscovery").number(0), 102u);
}

TEST_F(Binding, MissingGetClientIdIsItsErrorAndGivesTheLoadBack) {
    service.lacks("OrxGetClientId");
    EXPECT_EQ(client->Discovery(nullptr, nullptr), 127u);
    EXPECT_EQ(client->acquireBinding(), 127u);
    EXPECT_EQ(service.count("OrxDiscovery"), 0u);
}

TEST_F(Binding, AcquireBindingAnswersTheCodeOfARefusedIdentifier) {
    service.answersInTurn("OrxGetClientId", {1722});
    EXPECT_EQ(client->acquireBinding(), 1722u);
}

TEST_F(Binding, RefusedIdentifierIsClearedEvenWhenOneWasFilledIn) {
    service.does("OrxGetClientId", [](const ServiceCall &call) {
        *call.pointer<uint32_t>(0) = 7;
        return 5u;
    });
    client->Discovery(nullptr, nullptr);
    EXPECT_EQ(client->clientId(), 0u);
}

TEST_F(Binding, IdentifierIsZeroWhileNoneIsHeld) {
    EXPECT_EQ(client->clientId(), 0u);
    hold();
    EXPECT_EQ(client->clientId(), firstClientId);
    client->releaseBinding();
    EXPECT_EQ(client->clientId(), 0u);
}

// --------------------------------------------------------------------------------- acquireBinding, releaseBinding

TEST_F(Binding, AcquireTakesOneReferenceOfEachKind) {
    EXPECT_EQ(client->acquireBinding(), 0u);
    EXPECT_EQ(client->acquireBinding(), 0u);
    EXPECT_THAT(service.sequence(), ElementsAre("OrxInitialize", "OrxGetClientId"));
    expectReferences(2);
}

TEST_F(Binding, ReleaseWithoutReferencesDoesNothing) {
    EXPECT_EQ(client->releaseBinding(), 0u);
    EXPECT_EQ(client->releaseBinding(), 0u);
    expectIdle();
}

// --------------------------------------------------------------------------------- open handles

TEST_F(Binding, HandleOpenedTwiceNeedsTwoCloses) {
    open();
    open();
    EXPECT_EQ(client->ClosePrinter(handle), 0u);
    EXPECT_EQ(client->WritePrinter(handle, nullptr, 0, nullptr), 0u);
    EXPECT_EQ(client->ClosePrinter(handle), 0u);
    EXPECT_EQ(client->WritePrinter(handle, nullptr, 0, nullptr), 1u);
    EXPECT_EQ(client->ClosePrinter(handle), 1u);
    expectIdle();
}

TEST_F(Binding, SecondOpenKeepsTheIdentifierOfTheFirst) {
    open();
    client->releaseBinding(); // gives 101 up under the handle
    open();                   // under 102
    client->CancelJobPrinter(handle);
    EXPECT_EQ(service.lastCall("OrxCancelJobPrinter").number(0), firstClientId);
}

TEST_F(Binding, HandlesAreKeptApart) {
    open(0x17);
    EXPECT_EQ(client->CancelJobPrinter(0x18), 1u);
    EXPECT_EQ(client->CancelJobPrinter(0x17), 0u);
    open(0x18);
    client->ClosePrinter(0x17);
    EXPECT_EQ(client->CancelJobPrinter(0x17), 1u);
    EXPECT_EQ(client->CancelJobPrinter(0x18), 0u);
}

TEST_F(Binding, HandleIsThirtyTwoBitsWide) {
    open(0xFFFF8123);
    EXPECT_EQ(client->CancelJobPrinter(0x8123), 1u);
    EXPECT_EQ(client->CancelJobPrinter(0xFFFF8123), 0u);
}

TEST_F(Binding, MissingEntryPointIsDetectedAnewOnEachCall) {
    service.lacks("OrxDiscovery");
    EXPECT_EQ(client->Discovery(nullptr, nullptr), 127u);
    EXPECT_EQ(client->Resume(), 0u);
    service.hasAgain("OrxDiscovery");
    EXPECT_EQ(client->Discovery(nullptr, nullptr), 0u);
}

TEST_F(Binding, CallbackMayUseTheBinding) {
    service.does("OrxEnumPrinters", [&](const ServiceCall &) { return client->OpenPrinter(handle); });
    EXPECT_EQ(client->EnumPrinters(nullptr, nullptr, nullptr), 0u);
    EXPECT_EQ(client->CancelJobPrinter(handle), 0u);
}
