// The operations that follow no pattern, or more than one.
#include "tests/contract/binding/BindingFixture.h"

#include "tests/support/ImportHook.h"

#include <new>

using namespace kal::test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<uint32_t> handlesOf(const std::vector<ServiceCall> &calls) {
    std::vector<uint32_t> handles;
    for (const ServiceCall &call : calls)
        handles.push_back(call.number(1));
    return handles;
}

} // namespace

// --------------------------------------------------------------------------------- closing everything

struct CloseAll {
    int slot;
    std::string name;
    std::string entryPoint;
};

void PrintTo(const CloseAll &row, std::ostream *stream) {
    *stream << row.name;
}

class ClosesAll : public Binding, public testing::WithParamInterface<CloseAll> {
  protected:
    uint32_t call() { return callSlot(*client, GetParam().slot); }
    const std::string &entryPoint() const { return GetParam().entryPoint; }
};

TEST_P(ClosesAll, EveryOpenOfEveryHandleOfEveryKind) {
    client->OpenPrinter(0x8002);
    client->OpenHid(7);
    client->OpenHid(7);
    client->OpenScanner(3);
    client->OpenCardReader(5);
    service.forgetCalls();
    EXPECT_EQ(call(), 0u);
    EXPECT_THAT(handlesOf(service.calls(entryPoint())), ElementsAre(3, 5, 7, 7, 0x8002));
    EXPECT_EQ(service.operations().size(), 5u);
    expectIdle();
}

TEST_P(ClosesAll, AnswersZeroWhenNothingIsOpen) {
    EXPECT_EQ(call(), 0u);
    EXPECT_THAT(service.sequence(), ElementsAre("OrxInitialize", "OrxGetClientId", "OrxUninitialize"));
    expectIdle();
}

TEST_P(ClosesAll, AnswersTheCodeOfTheLastClose) {
    open(1);
    open(2);
    open(3);
    service.answersInTurn(entryPoint(), {5, 6, 1168});
    EXPECT_EQ(call(), 1168u);
    EXPECT_EQ(service.count(entryPoint()), 3u);
}

TEST_P(ClosesAll, EarlierFailureIsForgottenByALaterSuccess) {
    open(1);
    open(2);
    service.answersInTurn(entryPoint(), {5, 0});
    EXPECT_EQ(call(), 0u);
}

TEST_P(ClosesAll, LeavesTheReferencesOfOthers) {
    open(1);
    hold();
    call();
    expectReferences(1);
}

TEST_P(ClosesAll, HandleClosedMeanwhileIsPassedOver) {
    open(1);
    open(2);
    service.does(entryPoint(), [&](const ServiceCall &closing) {
        if (closing.number(1) == 1)
            client->CloseScanner(2);
        return 0u;
    });
    EXPECT_EQ(call(), 0u);
    EXPECT_THAT(handlesOf(service.calls(entryPoint())), ElementsAre(1));
    EXPECT_THAT(handlesOf(service.calls("OrxCloseScanner")), ElementsAre(2));
    expectIdle();
}

TEST_P(ClosesAll, WithoutMemoryRaisesAndLeavesEverythingAsItWas) {
    open(1);
    open(2);
    {
        int left = 0;
        const ImportHook<"malloc", void *(size_t)> memory(
            thisProgram(), [&](size_t size) { return left-- == 0 ? nullptr : memory.original(size); });
        EXPECT_THROW(call(), std::bad_alloc);
    }
    EXPECT_THAT(service.sequence(), IsEmpty());
    expectReferences(2);
}

TEST_P(ClosesAll, MissingLibraryIs126) {
    removeComc();
    EXPECT_EQ(call(), 126u);
}

TEST_P(ClosesAll, RefusedIdentifierIsItsCode) {
    service.answersInTurn("OrxGetClientId", {5});
    EXPECT_EQ(call(), 5u);
    expectIdle();
}

TEST_P(ClosesAll, ClosesThroughTheVirtualOperation) {
    struct Overriding : kal::OrxClient {
        using OrxClient::OrxClient;
        uint32_t ClosePrinter(uint32_t which) override {
            asPrinter.push_back(which);
            return OrxClient::ClosePrinter(which);
        }
        uint32_t CloseHid(uint32_t which) override {
            asHid.push_back(which);
            return OrxClient::CloseHid(which);
        }
        std::vector<uint32_t> asPrinter;
        std::vector<uint32_t> asHid;
    };
    auto own = std::make_unique<Overriding>(thisProgram(), "", false);
    Overriding &overriding = *own;
    client = std::move(own);
    open(9);
    call();
    EXPECT_THAT(GetParam().name == "closeAllHids" ? overriding.asHid : overriding.asPrinter, ElementsAre(9));
    EXPECT_THAT(GetParam().name == "closeAllHids" ? overriding.asPrinter : overriding.asHid, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Operation, ClosesAll,
                         testing::Values(CloseAll{4, "closeAllPrinters", "OrxClosePrinter"},
                                         CloseAll{40, "closeAllHids", "OrxCloseHid"}),
                         [](const auto &row) { return row.param.name; });

// --------------------------------------------------------------------------------- write

class WriteBackOff : public Binding {
  protected:
    uint32_t write() { return client->WritePrinter(handle, "x", 1, &written); }
    uint32_t written = 0;
    std::vector<DWORD> pauses;
    ImportHook<"Sleep", void(DWORD)> sleep{thisProgram(),
                                           [this](DWORD milliseconds) { pauses.push_back(milliseconds); }};
};

TEST_F(WriteBackOff, FullServiceBufferCostsOnePauseAndIsNotRetried) {
    open();
    service.answers("OrxWritePrinter", 122);
    EXPECT_EQ(write(), 122u);
    EXPECT_THAT(pauses, ElementsAre(2000));
    EXPECT_EQ(service.count("OrxWritePrinter"), 1u);
}

TEST_F(WriteBackOff, PauseComesAfterTheCall) {
    open();
    service.does("OrxWritePrinter", [&](const ServiceCall &) {
        EXPECT_THAT(pauses, IsEmpty());
        return 122u;
    });
    write();
    EXPECT_THAT(pauses, ElementsAre(2000));
}

TEST_F(WriteBackOff, OtherCodesCostNoPause) {
    open();
    for (const uint32_t code : {0u, 1u, 6u, 50u, 121u, 123u, 170u, 1168u}) {
        service.answers("OrxWritePrinter", code);
        EXPECT_EQ(write(), code);
    }
    EXPECT_THAT(pauses, IsEmpty());
}

TEST_F(WriteBackOff, UnknownHandleCostsNoPause) {
    EXPECT_EQ(write(), 1u);
    EXPECT_THAT(pauses, IsEmpty());
}

TEST_F(WriteBackOff, OtherOperationsDoNotPauseAt122) {
    open();
    service.answers("OrxEndJobPrinter", 122);
    EXPECT_EQ(client->EndJobPrinter(handle), 122u);
    EXPECT_THAT(pauses, IsEmpty());
}

// --------------------------------------------------------------------------------- SetClientInfo

TEST_F(Binding, SetClientInfoIgnoresItsFirstArgument) {
    const SlotArguments words = {0x1111'0000'0000, 0x2222'0000'0000, 0x3333'0000'0000};
    callSlot(*client, 24, words);
    EXPECT_EQ(service.lastCall("OrxSetClientInfo").arguments[1], words[1]);
    EXPECT_EQ(service.lastCall("OrxSetClientInfo").arguments[2], words[2]);
}

TEST_F(Binding, SetClientInfoGivesBothReferencesBackOnSuccess) {
    client->SetClientInfo(nullptr, nullptr, nullptr);
    expectIdle();
    hold();
    client->SetClientInfo(nullptr, nullptr, nullptr);
    expectReferences(1);
}

// --------------------------------------------------------------------------------- unregistrations

TEST_F(Binding, UnregisterForSystemNotificationsGivesTheKeptReferencesBack) {
    ASSERT_EQ(client->RegisterForSystemNotifications(3, nullptr), 0u);
    EXPECT_EQ(client->UnregisterForSystemNotifications(), 0u);
    EXPECT_EQ(service.lastCall("OrxUnregisterForSystemNotifications").number(0), firstClientId);
    expectIdle();
}

TEST_F(Binding, UnregisterForSystemNotificationsPassesTheServiceCodeAndStillGivesBack) {
    hold();
    service.answers("OrxUnregisterForSystemNotifications", 5);
    EXPECT_EQ(client->UnregisterForSystemNotifications(), 5u);
    expectIdle();
}

TEST_F(Binding, UnregisterForSystemNotificationsGivesBackWhenTheEntryPointIsMissing) {
    hold();
    service.lacks("OrxUnregisterForSystemNotifications");
    EXPECT_EQ(client->UnregisterForSystemNotifications(), 127u);
    expectIdle();
}

TEST_F(Binding, UnregisterForSystemNotificationsDoesNotLoad) {
    EXPECT_EQ(client->UnregisterForSystemNotifications(), 127u);
    EXPECT_EQ(service.loads(), 0);
    expectIdle();
}

struct Unregistration {
    int slot;
    std::string name;
    int registrationSlot;
};

void PrintTo(const Unregistration &row, std::ostream *stream) {
    *stream << row.name;
}

class UnregisterForReports : public Binding, public testing::WithParamInterface<Unregistration> {
  protected:
    std::string entryPoint() const { return "Orx" + GetParam().name; }
    uint32_t call() { return callSlot(*client, GetParam().slot); }
};

TEST_P(UnregisterForReports, KeptReferencesStayHeld) {
    ASSERT_EQ(callSlot(*client, GetParam().registrationSlot), 0u);
    EXPECT_EQ(call(), 0u);
    EXPECT_EQ(service.lastCall(entryPoint()).number(0), firstClientId);
    expectReferences(1);
}

TEST_P(UnregisterForReports, ServiceCodeIsPassedThrough) {
    hold();
    service.answers(entryPoint(), 5);
    EXPECT_EQ(call(), 5u);
    expectReferences(1);
}

TEST_P(UnregisterForReports, MissingEntryPointIs127AndMovesNoReference) {
    hold();
    service.lacks(entryPoint());
    EXPECT_EQ(call(), 127u);
    expectReferences(1);
}

TEST_P(UnregisterForReports, DoesNotLoad) {
    EXPECT_EQ(call(), 127u);
    EXPECT_EQ(service.loads(), 0);
}

INSTANTIATE_TEST_SUITE_P(Operation, UnregisterForReports,
                         testing::Values(Unregistration{37, "UnregisterForReportsHids", 36},
                                         Unregistration{72, "UnregisterForReportsCardReader", 71}),
                         [](const auto &row) { return row.param.name; });

// --------------------------------------------------------------------------------- install

class Install : public Binding {
  protected:
    uint32_t call() { return callSlot(*client, 77); }
};

TEST_F(Install, CallsOnlyOrxInstallAndFrees) {
    EXPECT_EQ(call(), 0u);
    EXPECT_THAT(service.sequence(), ElementsAre("OrxInstall"));
    EXPECT_EQ(service.unloads(), 1);
}

TEST_F(Install, ServiceCodeIsPassedThrough) {
    service.answers("OrxInstall", 5);
    EXPECT_EQ(call(), 5u);
    EXPECT_EQ(service.unloads(), 1);
}

TEST_F(Install, MissingEntryPointIs127AndFrees) {
    service.lacks("OrxInstall");
    EXPECT_EQ(call(), 127u);
    EXPECT_EQ(service.unloads(), 1);
}

TEST_F(Install, MissingLibraryIsTheErrorOfTheLoad) {
    const ImportHook<"LoadLibraryA", HMODULE(const char *)> load(thisProgram(), [](const char *) -> HMODULE {
        SetLastError(1455);
        return nullptr;
    });
    EXPECT_EQ(call(), 1455u);
}

TEST_F(Install, LeavesTheCountsAlone) {
    call();
    expectIdle();
}

TEST_F(Install, ForgetsTheModuleThatOthersHold) {
    open();
    call();
    EXPECT_EQ(client->CancelJobPrinter(handle), 127u); // still counted as loaded, with no module to look it up in
    EXPECT_EQ(client->Resume(), 127u);
}
