#include "tests/contract/print/ClientFixture.h"
#include "tests/support/EveryCore.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/NetworkStandIn.h"

#include <chrono>
#include <future>
#include <thread>

using namespace kal::test;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

using FileNameHook = ImportHook<"GetModuleFileNameA", DWORD(HMODULE, char *, DWORD)>;

/// Lets the making of the binding (not of anything else) fail.
class BindingCannotBeMade {
  public:
    BindingCannotBeMade(HMODULE module, uint32_t error)
        : hook_(module, [this, error](HMODULE which, char *buffer, DWORD size) {
              if (size == 261)
                  throw kal::Win32Exception("making the binding", error, "", 0);
              return hook_.original(which, buffer, size);
          }) {}

  private:
    FileNameHook hook_;
};

} // namespace

// --------------------------------------------------------------------------------- counting

TEST_F(Client, RegistrationIsCountedAndLogged) {
    EXPECT_EQ(kal.KalRegisterApp(0), 1);
    EXPECT_EQ(kal.KalRegisterApp(7), 1);
    kal.KalUnregisterApp(0);
    kal.KalUnregisterApp(9);
    EXPECT_THAT(log(), ElementsAre("KalRegisterApp() initializeCount=1", "KalRegisterApp() initializeCount=2",
                                   "KalUnregisterApp() initializeCount=1", "KalUnregisterApp() initializeCount=0"));
}

TEST_F(Client, RegistrationMessagesAreOnLevelEight) {
    machine.setLogger("All", 0);
    machine.setLogger("LegacyClient", 8);
    registerApp();
    kal.KalOpen(0, handle, 0);
    EXPECT_THAT(log(), ElementsAre("KalRegisterApp() initializeCount=1"));
}

TEST_F(Client, RegistrationMessagesAreSilentWithLevelEightOff) {
    machine.setLogger("All", 0);
    machine.setLogger("LegacyClient", 0xFFFFFFF7);
    registerApp();
    kal.KalSetClientName("x");
    EXPECT_EQ(kal.KalRegisterWithRpcServer(nullptr), 1);
    ++registrations;
    unregisterApp();
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(Client, RegistrationTalksToNobody) {
    registerApp();
    unregisterApp();
    EXPECT_EQ(service.loads(), 0);
}

TEST_F(Client, BindingStaysUntilTheLastUnregistration) {
    registerApp();
    registerApp();
    unregisterApp();
    EXPECT_EQ(kal.KalOpen(0, handle, 0), KAL_OKAY);
    unregisterApp();
    expectUnregistered([&] { kal.KalOpen(0, handle, 0); });
}

TEST_F(Client, LastUnregistrationUnloadsTheServiceWhateverIsOpen) {
    registerApp();
    kal.KalOpen(0, handle, 0);
    kal.KalOpen(0, fitting, 0);
    EXPECT_TRUE(service.isLoaded());
    unregisterApp();
    EXPECT_FALSE(service.isLoaded());
    EXPECT_EQ(service.count("OrxUninitialize"), 1u);
    EXPECT_EQ(service.count("OrxClosePrinter"), 0u);
}

TEST_F(Client, NewRegistrationHasAFreshBinding) {
    registerApp();
    kal.KalOpen(0, handle, 0);
    unregisterApp();
    registerApp();
    EXPECT_EQ(kal.KalClose(0, handle), DEVERR_INVHANDLE);
}

TEST_F(Client, RegistrationUsesTheServiceOnThisMachine) {
    registerApp();
    kal.KalOpen(0, handle, 0);
    EXPECT_STREQ(service.lastCall("OrxGetClientId").text(1).c_str(), "");
}

TEST_F(Client, UnmatchedUnregistrationWrapsTheCount) {
    kal.KalUnregisterApp(0);
    EXPECT_EQ(kal.KalRegisterApp(0), 1); // only brings the count back to 0
    expectUnregistered([&] { kal.KalClose(0, handle); });
    registerApp();
    EXPECT_EQ(kal.KalClose(0, handle), DEVERR_INVHANDLE);
    EXPECT_THAT(log(), Contains("KalRegisterApp() initializeCount=1"));
}

TEST_F(Client, ServerRegistrationAlsoCountsUpAWrappedCount) {
    kal.KalUnregisterApp(0);
    EXPECT_EQ(kal.KalRegisterWithRpcServer(""), 1);
    expectUnregistered([&] { kal.KalClose(0, handle); });
}

TEST_F(Client, ConcurrentRegistrationsAreSerialised) {
    const EveryCore everyCore;
    std::vector<std::thread> threads;
    for (int number = 0; number < 6; ++number)
        threads.emplace_back([&] {
            for (int round = 0; round < 20; ++round) {
                kal.KalRegisterApp(0);
                kal.KalUnregisterApp(0);
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    expectUnregistered([&] { kal.KalClose(0, handle); });
    machine.deleteLog();
    registerApp();
    EXPECT_THAT(log(), ElementsAre("KalRegisterApp() initializeCount=1"));
}

// --------------------------------------------------------------------------------- failing to register

TEST_F(Client, BindingThatCannotBeMadeLeavesNothingRegistered) {
    {
        const BindingCannotBeMade failing(library.module(), 1450);
        EXPECT_EQ(kal.KalRegisterApp(0), 1);
    }
    expectUnregistered([&] { kal.KalClose(0, handle); });
    EXPECT_THAT(log(), ElementsAre("KalRegisterApp() throw exception, error=1450"));
    machine.deleteLog();
    registerApp();
    EXPECT_THAT(log(), ElementsAre("KalRegisterApp() initializeCount=1"));
}

TEST_F(Client, BindingThatCannotBeMadeIsAnError) {
    machine.setLogger("startLog", 0);
    const BindingCannotBeMade failing(library.module(), 5);
    kal.KalRegisterApp(0);
    EXPECT_THAT(log(), ElementsAre("KalRegisterApp() throw exception, error=5"));
}

TEST_F(Client, BindingThatCannotBeMadeRefusesTheServer) {
    {
        const BindingCannotBeMade failing(library.module(), 1450);
        EXPECT_EQ(kal.KalRegisterWithRpcServer(""), -12);
    }
    machine.deleteLog();
    registerApp();
    EXPECT_THAT(log(), ElementsAre("KalRegisterApp() initializeCount=1"));
}

TEST_F(Client, LoggerThatCannotBeMadeLeavesNothingRegistered) {
    using AllocateSid =
        BOOL(SID_IDENTIFIER_AUTHORITY *, BYTE, DWORD, DWORD, DWORD, DWORD, DWORD, DWORD, DWORD, DWORD, PSID *);
    {
        const ImportHook<"AllocateAndInitializeSid", AllocateSid> failing(library.module(), [](auto &&...) {
            SetLastError(1337);
            return FALSE;
        });
        EXPECT_EQ(kal.KalRegisterApp(0), 1);
        EXPECT_EQ(kal.KalRegisterWithRpcServer(""), -12);
        EXPECT_GT(failing.calls(), 0);
    }
    registerApp();
    EXPECT_EQ(kal.KalOpen(0, handle, 0), KAL_OKAY);
    unregisterApp();
    expectUnregistered([&] { kal.KalClose(0, handle); });
}

// --------------------------------------------------------------------------------- a named server

class ServerRegistration : public Client {
  protected:
    NetworkStandIn network{library.module()};
    int32_t registerWith(const char *server) {
        const int32_t result = kal.KalRegisterWithRpcServer(server);
        if (result == 1)
            ++registrations;
        return result;
    }
};

TEST_F(ServerRegistration, ReachableServerIsRegisteredAndLogged) {
    EXPECT_EQ(registerWith("elsewhere"), 1);
    EXPECT_THAT(network.asked, ElementsAre("\\\\elsewhere"));
    EXPECT_THAT(log(), ElementsAre("KalRegisterWithRpcServer(elsewhere) initializeCount=1"));
}

TEST_F(ServerRegistration, ServiceIsToldTheServersName) {
    registerWith("\\\\elsewhere");
    kal.KalOpen(0, handle, 0);
    EXPECT_EQ(service.lastCall("OrxGetClientId").text(1), "\\\\elsewhere");
}

TEST_F(ServerRegistration, ThisMachineNeedsNoProvider) {
    network.answer = 67;
    EXPECT_EQ(registerWith("printhost"), 1);
    EXPECT_EQ(registerWith(""), 1);
    EXPECT_EQ(registerWith(nullptr), 1);
    EXPECT_THAT(network.asked, IsEmpty());
}

TEST_F(ServerRegistration, NullServerIsThisMachine) {
    network.answer = 67;
    EXPECT_EQ(registerWith(nullptr), 1);
    EXPECT_EQ(kal.KalOpen(0, handle, 0), KAL_OKAY);
}

TEST_F(ServerRegistration, UnreachableServerIsRefusedAndLogged) {
    network.answer = 67;
    EXPECT_EQ(registerWith("elsewhere"), -12);
    EXPECT_THAT(log(), ElementsAre("KalRegisterWithRpcServer(elsewhere) pingServer() failed, rc=67"));
    EXPECT_EQ(service.loads(), 0);
}

TEST_F(ServerRegistration, RefusalIsOnLevelEight) {
    machine.setLogger("All", 0);
    machine.setLogger("LegacyClient", 0xFFFFFFF7);
    network.answer = 67;
    registerWith("elsewhere");
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(ServerRegistration, RefusalLeavesTheCountAndMakesOpenFail) {
    network.answer = 67;
    registerWith("elsewhere");
    EXPECT_EQ(kal.KalOpen(0, handle, 0), KAL_FAIL);
    machine.deleteLog();
    registerApp();
    EXPECT_THAT(log(), ElementsAre("KalRegisterApp() initializeCount=1"));
}

TEST_F(ServerRegistration, RegisteredProcessIgnoresTheServer) {
    network.answer = 67;
    registerApp();
    EXPECT_EQ(registerWith("elsewhere"), 1);
    EXPECT_THAT(network.asked, IsEmpty());
    EXPECT_THAT(log(), Contains("KalRegisterWithRpcServer(elsewhere) initializeCount=2"));
    kal.KalOpen(0, handle, 0);
    EXPECT_EQ(service.lastCall("OrxGetClientId").text(1), "");
}

TEST_F(ServerRegistration, PlainRegistrationSharesTheBindingOfTheServer) {
    registerWith("elsewhere");
    registerApp();
    kal.KalOpen(0, handle, 0);
    EXPECT_EQ(service.lastCall("OrxGetClientId").text(1), "elsewhere");
}

TEST_F(ServerRegistration, ServerLostLaterFailsTheOperation) {
    registerWith("elsewhere");
    network.answer = 67;
    EXPECT_EQ(kal.KalOpen(0, handle, 0), KAL_FAIL);
}

TEST_F(ServerRegistration, MissingProviderRefusesTheServer) {
    network.loadError = 126;
    EXPECT_EQ(registerWith("elsewhere"), -12);
    EXPECT_THAT(log(), ElementsAre("KalRegisterWithRpcServer(elsewhere) pingServer() failed, rc=126"));
}

// --------------------------------------------------------------------------------- client name

TEST_F(ServerRegistration, ClientNameIsSetWhileAnotherThreadWaitsForTheNetwork) {
    std::future<void> setting;
    network.duringTheQuestion = [&] {
        setting = std::async(std::launch::async, [&] { kal.KalSetClientName("status window"); });
        EXPECT_EQ(setting.wait_for(std::chrono::seconds(2)), std::future_status::ready);
    };
    EXPECT_EQ(registerWith("elsewhere"), 1);
    ASSERT_TRUE(setting.valid());
    setting.get();
}

TEST_F(RegisteredClient, ClientNameIsLogged) {
    kal.KalSetClientName("status window");
    EXPECT_THAT(log(), ElementsAre("KalSetClientName was called"));
    kal.KalSetClientName(nullptr);
    EXPECT_EQ(log().size(), 2u);
}

TEST_F(Client, ClientNameMayBeSetUnregistered) {
    kal.KalSetClientName("status window");
    kal.KalSetClientName(nullptr);
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(RegisteredClient, ClientNameIsReadUpTo260Characters) {
    const GuardedBuffer endless(std::string(260, 'x'));
    kal.KalSetClientName(endless.as<char>());
    const GuardedBuffer whole(std::string(259, 'y') + '\0');
    kal.KalSetClientName(whole.as<char>());
    const GuardedBuffer brief(std::string("z\0", 2));
    kal.KalSetClientName(brief.as<char>());
    EXPECT_EQ(log().size(), 3u);
}

// --------------------------------------------------------------------------------- the aliases

TEST_F(RegisteredClient, RegistrationAliasRegistersWithinATrace) {
    EXPECT_EQ(kal.KalRegisterAppLM(0), 1);
    ++registrations;
    const auto lines = log();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_THAT(lines[0], StartsWith("+KalRegisterAppLM"));
    EXPECT_EQ(lines[1], "KalRegisterApp() initializeCount=2");
    EXPECT_THAT(lines[2], StartsWith("-KalRegisterAppLM"));
}

TEST_F(RegisteredClient, UnregistrationAliasUnregistersWithinATrace) {
    registerApp();
    machine.deleteLog();
    kal.KalUnregisterAppLM(0);
    --registrations;
    const auto lines = log();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_THAT(lines[0], StartsWith("+KalUnregisterAppLM"));
    EXPECT_EQ(lines[1], "KalUnregisterApp() initializeCount=1");
    EXPECT_THAT(lines[2], StartsWith("-KalUnregisterAppLM"));
}

TEST_F(RegisteredClient, UnregistrationAliasAsTheLastWritesNoExitLine) {
    kal.KalUnregisterAppLM(0);
    --registrations;
    const auto lines = log();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_THAT(lines[0], StartsWith("+KalUnregisterAppLM"));
    EXPECT_EQ(lines[1], "KalUnregisterApp() initializeCount=0");
    expectUnregistered([&] { kal.KalClose(0, handle); });
}

TEST_F(Client, UnregistrationAliasAsTheLastMayComeAgainAndAgain) {
    for (int round = 0; round < 50; ++round) {
        kal.KalRegisterApp(0);
        kal.KalUnregisterAppLM(0);
    }
    registerApp();
    EXPECT_EQ(kal.KalOpen(0, handle, 0), KAL_OKAY);
}

TEST_F(RegisteredClient, IndentationStartsAnewAfterTheUnregistrationAliasWasTheLast) {
    kal.KalUnregisterAppLM(0);
    --registrations;
    registerApp();
    machine.deleteLog();
    kal.KalClose(0, 5);
    EXPECT_THAT(indentedLog(), ElementsAre("+KalClose() handle=5", "-KalClose() handle=5 rc=DEVERR_INVHANDLE"));
}
