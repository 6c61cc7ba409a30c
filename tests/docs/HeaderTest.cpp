// What the comments of kal.h say of results and log lines, against what the exports answer and write.
#include "tests/docs/Documents.h"
#include "tests/docs/ServiceCalls.h"

#include "api/kal.h"
#include "tests/support/ExpectedResults.h"
#include "tests/support/ExportScenarios.h"
#include "tests/support/NetworkStandIn.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <regex>

namespace kal::test {
namespace {

using testing::Contains;
using testing::IsEmpty;
using testing::Not;

// ------------------------------------------------------------------------------------------------------- results

using Results = std::map<std::string, std::set<std::string>>;

std::string nameOf(int32_t result) {
    for (const auto &[name, number] : resultCodes())
        if (number == result)
            return name;
    return std::to_string(result);
}

class HeaderResults : public AnsweringService {
  protected:
    /// What the service's codes bring.
    void observeCodes(Results &observed) {
        for (const ServiceCallOfExport &call : serviceCalls(library))
            for (const uint32_t code : serviceCodes)
                observed[call.exportName].insert(nameOf(resultOf(call, code)));
    }

    /// What arguments bring, whatever the service says.
    void observeArguments(Results &observed) {
        const auto note = [&](const std::string &name, int32_t result) { observed[name].insert(nameOf(result)); };
        constexpr uint16_t handle = 5;
        constexpr uint32_t unfitting = 3;
        uint32_t count = 1;
        KalPrinterStatusRecord record;
#define CALL(name, ...) note(#name, library.function<decltype(name)>(#name)(__VA_ARGS__))
        CALL(KalStartDoc, handle, unfitting, "");
        CALL(KalWrite, 0, handle, unfitting, "x", &count);
        CALL(KalEndDoc, handle, unfitting);
        CALL(KalSetJobCancelMode, 0, handle, 0);
        CALL(KalSetJobControlMode, 0, handle, 128);
        CALL(KalSetJobStringPrinter, 0, handle, nullptr, "value");
        CALL(KalReleaseAlerts, 0, handle);
        CALL(KalQueryPrinterStatus, 0, handle, 0, &record, 1, &count);
        CALL(KalSendBidi, 0, handle, 0, 14, nullptr, nullptr, nullptr, 0);
    }

    /// What a refused registration brings: no binding exists then.
    void observeRefusal(Results &observed) {
        const StagedLibrary refused;
        NetworkStandIn network(refused.module());
        network.answer = 67;
        const auto note = [&](const std::string &name, int32_t result) { observed[name].insert(nameOf(result)); };
        const auto registered = refused.function<decltype(KalRegisterWithRpcServer)>("KalRegisterWithRpcServer");
        note("KalRegisterWithRpcServer", registered("elsewhere"));
        for (const ServiceCallOfExport &call : serviceCalls(refused))
            note(call.exportName, call.call());
        const auto unregister = refused.function<decltype(KalUnregisterApp)>("KalUnregisterApp");
        note("KalRegisterWithRpcServer", registered(nullptr) == 1 ? -1000 : 0); // 1 is no result code there
        unregister(0);
    }
};

TEST_F(HeaderResults, AreAllThatAnExportAnswersAndNoOther) {
    Results observed;
    observeCodes(observed);
    observeArguments(observed);
    observeRefusal(observed);
    ASSERT_TRUE(observed["KalRegisterWithRpcServer"].erase("-1000"));
    observed["KalRegisterWithRpcServer"].insert("1");
    for (const auto &[name, comment] : exportComments()) {
        if (!comment.results.empty()) {
            EXPECT_EQ(comment.results, observed[name]) << name;
        }
    }
}

// ----------------------------------------------------------------------------------------------------- log lines

/// Comparable: pointers are all the same, and a run of blanks is one.
std::string normal(const std::string &line) {
    return std::regex_replace(std::regex_replace(line, std::regex("0x[0-9A-F]{16}"), "0x#"), std::regex(" +"), " ");
}

/// The lines that a group of exports has in common.
std::vector<std::string> logLinesOfGroup(const std::string &group) {
    const std::string header = sourceText("api/kal.h");
    const size_t begin = header.find("@par Log line", header.find("@defgroup " + group));
    return namesIn(header.substr(begin, header.find("@par Example", begin) - begin));
}

using Logged = std::map<std::string, std::vector<std::string>>;

/// Runs the scenarios of all exports with everything logged.
class LoggedScenarios {
  public:
    LoggedScenarios() {
        machine.logEverything();
        service.stringProperty("Transport", "USB1");
        service.stringProperty("Device", "BpdPrinter");
        service.stringProperty("Portname", "USB001");
        service.does("OrxEnumSpecificPrinter", [](const ServiceCall &call) {
            *call.pointer<uint32_t>(2) = 3;
            return 0u;
        });
        service.does("OrxEnumPrinters", [](const ServiceCall &call) {
            call.callback<uint32_t(uint32_t)>(3)(3);
            return 0u;
        });
        service.does("OrxExchangeBidiPrinter", [](const ServiceCall &call) {
            std::memcpy(call.pointer<char>(4), "HHHHHready", 10);
            *call.pointer<uint32_t>(6) = 10;
            return 0u;
        });
        service.does("OrxWritePrinter", [](const ServiceCall &call) {
            *call.pointer<uint32_t>(4) = call.number(3);
            return 0u;
        });
        runScenarios();
    }

    /// What the scenarios of each export have logged.
    Logged logged;

  private:
    void runScenarios() {
        const HWND window = makeMessageWindow();
        ScenarioSurroundings surroundings;
        surroundings.library = library.module();
        surroundings.window = window;
        surroundings.alertCallback = [this] { return callbackOf<OrxAlertCallback>("OrxRegisterForAlertsPrinter"); };
        surroundings.notificationCallback = [this] {
            return callbackOf<OrxNotificationCallback>("OrxRegisterForNotificationsPrinter");
        };
        const auto registerApp = library.function<decltype(KalRegisterApp)>("KalRegisterApp");
        const auto unregisterApp = library.function<decltype(KalUnregisterApp)>("KalUnregisterApp");
        for (const ExportScenario &scenario : exportScenarios(surroundings)) {
            if (scenario.needsRegistration)
                registerApp(0);
            scenario.before();
            machine.deleteLog();
            scenario.call();
            for (const std::string &line : machine.logTexts())
                if (!scenario.exports.empty())
                    logged[scenario.exports.front()].push_back(normal(line));
            scenario.after();
            if (scenario.needsRegistration)
                unregisterApp(0);
        }
        DestroyWindow(window);
    }

    template <class Callback>
    Callback callbackOf(const char *entryPoint) const {
        return service.lastCall(entryPoint).callback<std::remove_pointer_t<Callback>>(3);
    }

    PrivateMachine machine;
    RecordedService service;
    StagedLibrary library;
    NetworkStandIn network_{library.module()};
};

class HeaderLogLines : public testing::Test {
  protected:
    static void SetUpTestSuite() { logged = LoggedScenarios().logged; }

    static inline Logged logged;
};

TEST_F(HeaderLogLines, AreThoseThatTheExportsWrite) {
    int compared = 0;
    for (const auto &[name, comment] : exportComments()) {
        for (const std::string &line : comment.logLines) {
            EXPECT_THAT(logged[name], Contains(normal(line))) << name;
            ++compared;
        }
    }
    EXPECT_EQ(compared, 29);
}

TEST_F(HeaderLogLines, AreNoneWhereNoneIsPromised) {
    EXPECT_THAT(logged["Initialize"], IsEmpty());
    EXPECT_THAT(logged["Uninitialize"], IsEmpty());
}

TEST_F(HeaderLogLines, AreAlikeForUnsupportedExports) {
    const std::string line = logLinesOfGroup("unsupported").at(0);
    int compared = 0;
    for (const auto &[name, comment] : exportComments()) {
        if (!comment.brief.starts_with("Unsupported"))
            continue;
        const std::string traced = name == "KalEnumJobs" ? "KalEnumJob" : name;
        EXPECT_THAT(logged[name], Contains(std::regex_replace(line, std::regex("KalPing"), traced))) << name;
        ++compared;
    }
    EXPECT_EQ(compared, 39);
}

TEST_F(HeaderLogLines, AreAroundThoseOfTheExportForAliases) {
    const auto lines = logLinesOfGroup("aliases");
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(logged["KalCloseLM"], lines);
    int compared = 0;
    for (const auto &[name, comment] : exportComments()) {
        if (!comment.brief.starts_with("Alias") || name == "KalUnregisterAppLM")
            continue;
        const std::string traced = name == "KalCaptureAlertsExLM"               ? "KalCaptureAlertsLM"
                                   : name == "KalReceiveShutdownNotificationLM" ? "KalReceiveShutdownNotification"
                                                                                : name;
        EXPECT_THAT(logged[name], Not(IsEmpty())) << name;
        if (!logged[name].empty()) {
            EXPECT_EQ(logged[name].front(), "+" + traced);
            EXPECT_EQ(logged[name].back(), "-" + traced);
        }
        ++compared;
    }
    EXPECT_EQ(compared, 36);
}

} // namespace
} // namespace kal::test
