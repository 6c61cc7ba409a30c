// Which server names are accepted unasked, and how the others are asked for.
#include "tests/contract/binding/BindingFixture.h"
#include "tests/support/NetworkStandIn.h"

#include <utility>

using namespace kal::test;
using testing::ElementsAre;
using testing::IsEmpty;

class ServerCheck : public Binding {
  protected:
    uint32_t check(const char *name) {
        makeClient(name);
        return client->checkServer();
    }
    NetworkStandIn network{GetModuleHandleA(nullptr)};
};

struct ServerName {
    const char *test;
    const char *name;
    const char *remoteName; ///< what the provider is asked for
};

void PrintTo(const ServerName &row, std::ostream *stream) {
    *stream << row.name;
}

std::string testNameOf(const testing::TestParamInfo<ServerName> &info) {
    return info.param.test;
}

class AcceptedUnasked : public ServerCheck, public testing::WithParamInterface<ServerName> {};

TEST_P(AcceptedUnasked, IsZeroWithoutTheProvider) {
    network.answer = 67;
    EXPECT_EQ(check(GetParam().name), 0u);
    EXPECT_THAT(network.loaded, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Name, AcceptedUnasked,
                         testing::Values(ServerName{"Null", nullptr, nullptr}, ServerName{"Empty", "", nullptr},
                                         ServerName{"Same", "PRINTHOST", nullptr},
                                         ServerName{"LowerCase", "printhost", nullptr},
                                         ServerName{"MixedCase", "PrintHost", nullptr},
                                         ServerName{"TwoBackslashes", "\\\\PRINTHOST", nullptr},
                                         ServerName{"TwoBackslashesLowerCase", "\\\\printhost", nullptr}),
                         testNameOf);

class AskedFor : public ServerCheck, public testing::WithParamInterface<ServerName> {};

TEST_P(AskedFor, ProviderGetsTheRemoteName) {
    EXPECT_EQ(check(GetParam().name), 0u);
    EXPECT_THAT(network.asked, ElementsAre(GetParam().remoteName));
}

TEST_P(AskedFor, ProvidersCodeIsTheResult) {
    network.answer = 67;
    EXPECT_EQ(check(GetParam().name), 67u);
    network.answer = 1203;
    EXPECT_EQ(client->checkServer(), 1203u);
}

INSTANTIATE_TEST_SUITE_P(Name, AskedFor,
                         testing::Values(ServerName{"Other", "elsewhere", "\\\\elsewhere"},
                                         ServerName{"OtherWithBackslashes", "\\\\elsewhere", "\\\\elsewhere"},
                                         ServerName{"LongerThanThisMachine", "PRINTHOST2", "\\\\PRINTHOST2"},
                                         ServerName{"BeginningOfThisMachine", "PRINTHOS", "\\\\PRINTHOS"},
                                         ServerName{"OneCharacter", "P", "\\\\P"},
                                         ServerName{"OneBackslash", "\\", "\\"}, //
                                         ServerName{"TwoBackslashesAlone", "\\\\", "\\\\"},
                                         ServerName{"BackslashAndOneCharacter", "\\x", "\\x"},
                                         ServerName{"OneBackslashBeforeThisMachine", "\\PRINTHOST", "\\PRINTHOST"},
                                         ServerName{"BackslashInSecondPlace", "P\\RINTHOST", "P\\RINTHOST"},
                                         ServerName{"ThreeBackslashes", "\\\\\\PRINTHOST", "\\\\\\PRINTHOST"},
                                         ServerName{"Share", "\\\\PRINTHOST\\share", "\\\\PRINTHOST\\share"}),
                         testNameOf);

TEST_F(ServerCheck, OnlyAsciiLettersAreTheSameInBothCases) {
    network.computerName = "DR\xDC"
                           "CKER[";
    EXPECT_EQ(check("dr\xDC"
                    "cker["),
              0u);
    EXPECT_THAT(network.asked, IsEmpty());
    check("dr\xFC"
          "cker[");
    check("dr\xDC"
          "cker{");
    EXPECT_EQ(network.asked.size(), 2u);
}

TEST_F(ServerCheck, NameWithOneBackslashIsAskedForEvenIfThisMachineBoreIt) {
    network.computerName = "P\\RINTHOST";
    check("P\\RINTHOST");
    EXPECT_EQ(network.asked.size(), 1u);
}

TEST_F(ServerCheck, UnreadableComputerNameAsksTheProvider) {
    network.computerName.clear();
    check("PRINTHOST");
    check("\\\\PRINTHOST");
    EXPECT_THAT(network.asked, ElementsAre("\\\\PRINTHOST", "\\\\PRINTHOST"));
}

TEST_F(ServerCheck, ComputerNameIsReadIntoSixteenBytes) {
    check("elsewhere");
    EXPECT_EQ(network.computerNameSize, 16u);
}

TEST_F(ServerCheck, ProviderIsAskedForAnyResourceOfTheGlobalNet) {
    check("elsewhere");
    EXPECT_EQ(network.resource.dwScope, 2u);
    EXPECT_EQ(network.resource.dwType, 0u);
    EXPECT_EQ(network.resource.dwDisplayType, 0u);
    EXPECT_EQ(network.resource.dwUsage, 0u);
    EXPECT_EQ(network.resource.lpLocalName, nullptr);
    EXPECT_EQ(network.resource.lpComment, nullptr);
    EXPECT_EQ(network.resource.lpProvider, nullptr);
}

TEST_F(ServerCheck, ProviderGetsAZeroedBufferOf261BytesAndAPlaceForTheSystemPart) {
    check("elsewhere");
    EXPECT_EQ(network.output, std::string(261, '\0'));
    EXPECT_TRUE(network.hasSystemPart);
}

TEST_F(ServerCheck, ProviderLibraryIsLoadedResolvedAndFreed) {
    check("elsewhere");
    EXPECT_THAT(network.loaded, ElementsAre("mpr.dll"));
    EXPECT_THAT(network.resolved, ElementsAre("WNetGetResourceInformationA"));
    EXPECT_EQ(network.freed, 1);
}

TEST_F(ServerCheck, MissingProviderLibraryIsItsError) {
    network.loadError = 14001;
    EXPECT_EQ(check("elsewhere"), 14001u);
    EXPECT_EQ(network.freed, 0);
}

TEST_F(ServerCheck, MissingProviderEntryPointIsItsErrorAndTheLibraryIsFreed) {
    network.resolveError = 127;
    EXPECT_EQ(check("elsewhere"), 127u);
    EXPECT_EQ(network.freed, 1);
}

TEST_F(ServerCheck, WithoutMemoryForTheRemoteNameIsCode8) {
    const std::string name(100, 'x');
    makeClient(name.c_str());
    bool isThere = true;
    const ImportHook<"malloc", void *(size_t)> memory(GetModuleHandleA(nullptr), [&](size_t size) {
        return size > name.size() && std::exchange(isThere, false) ? nullptr : memory.original(size);
    });
    EXPECT_EQ(client->checkServer(), 8u);
    EXPECT_FALSE(isThere);
    EXPECT_THAT(network.asked, IsEmpty());
    EXPECT_EQ(network.freed, 1);
}

TEST_F(ServerCheck, RefusedServerFailsTheOperationAndLeavesNothingHeld) {
    makeClient("elsewhere");
    network.answer = 67;
    EXPECT_EQ(client->Discovery(nullptr, nullptr), 67u);
    EXPECT_EQ(client->OpenPrinter(handle), 67u);
    EXPECT_EQ(service.count("OrxGetClientId"), 0u);
    network.answer = 0;
    EXPECT_EQ(client->Discovery(nullptr, nullptr), 0u);
    expectIdle();
}

TEST_F(ServerCheck, RefusedAcquireBindingAnswersItsCodeAndKeepsTheLoad) {
    makeClient("elsewhere");
    network.answer = 67;
    EXPECT_EQ(client->acquireBinding(), 67u);
    EXPECT_TRUE(service.isLoaded()); // a load followed by an identifier and nothing else
    client->releaseBinding();
    network.answer = 0;
    expectIdle();
}

TEST_F(ServerCheck, RunsOnEveryAcquisitionAlsoWhenAnIdentifierIsHeld) {
    makeClient("elsewhere");
    hold();
    network.asked.clear();
    client->Discovery(nullptr, nullptr);
    client->OpenPrinter(handle);
    EXPECT_EQ(network.asked.size(), 2u);
    client->CancelJobPrinter(handle);
    client->ClosePrinter(handle);
    client->Resume();
    EXPECT_EQ(network.asked.size(), 2u);
}

TEST_F(ServerCheck, TakesNoReferenceAndLoadsNoService) {
    check("elsewhere");
    EXPECT_EQ(service.loads(), 0);
}

// --------------------------------------------------------------------------------- SetClientInfo without identifier

TEST_F(ServerCheck, SetClientInfoReleasesTheIdentifierOfOthersWhenTheServerIsRefused) {
    makeClient("elsewhere");
    hold();
    network.answer = 67;
    EXPECT_EQ(client->SetClientInfo(nullptr, nullptr, nullptr), 67u);
    EXPECT_EQ(service.count("OrxSetClientInfo"), 0u);
    network.answer = 0;
    client->Discovery(nullptr, nullptr);
    EXPECT_EQ(service.count("OrxGetClientId"), 1u);
}

TEST_F(ServerCheck, SetClientInfoGivesOnlyItsOwnLoadBackWhenTheServerIsRefused) {
    makeClient("elsewhere");
    hold();
    network.answer = 67;
    client->SetClientInfo(nullptr, nullptr, nullptr);
    EXPECT_TRUE(service.isLoaded());
    client->releaseBinding();
    EXPECT_FALSE(service.isLoaded());
}

TEST_F(ServerCheck, OtherOperationsLeaveTheIdentifierOfOthersWhenTheServerIsRefused) {
    makeClient("elsewhere");
    hold();
    network.answer = 67;
    EXPECT_EQ(client->Discovery(nullptr, nullptr), 67u);
    network.answer = 0;
    client->Discovery(nullptr, nullptr);
    EXPECT_EQ(service.count("OrxGetClientId"), 0u);
}
