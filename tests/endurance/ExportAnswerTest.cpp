// Every export against every answer of each entry point that it uses: missing, every code, answered at once, slowly,
// with the application called back from another thread in the middle, and while comc.dll is being given up.
#include "api/kal.h"
#include "comc/comc.h"
#include "tests/contract/binding/BindingFixture.h"
#include "tests/contract/legacy/LegacyNames.h"
#include "tests/support/ExpectedResults.h"
#include "tests/support/ImportHook.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/RecordedService.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

using namespace kal::test;

namespace {

constexpr uint16_t handle = 0x6001;
constexpr uint16_t otherHandle = 0x6002; // holds comc.dll and the identifier, and is the one that is called back about

enum class Before { nothing, opened, captured, notified };
enum class Manner { atOnce, slowly, calledBack, givenUp };

/// One way through an export, one entry point on it, and what the answer of that means.
struct Way {
    const char *name;
    std::function<int32_t()> call;
    Before before;
    const char *entryPoint;
    ExpectedResult result;
    const char *property = ""; ///< the answer is for this one alone, for entry points that read several
    const char *transport = "USB1";
};

void PrintTo(const Way &way, std::ostream *stream) {
    *stream << way.name << ", " << way.entryPoint << " " << way.property;
}

void ignorePrinter(const PortInfoRecord *) {}

int32_t write(decltype(KalWrite) *function) {
    uint32_t count = 4;
    return function(0, handle, 0, "data", &count);
}

int32_t getCache() {
    uint8_t block[32];
    uint32_t length = 0;
    return KalGetCache(0, handle, block, sizeof block, &length);
}

int32_t queryStatus() {
    KalPrinterStatusRecord record;
    uint32_t needed = 0;
    return KalQueryPrinterStatus(0, handle, 0, &record, sizeof record, &needed);
}

int32_t sendBidi(decltype(KalSendBidi) *function) {
    uint8_t response[32];
    uint32_t size = sizeof response;
    return function(0, handle, 0, 1, response, &size, nullptr, 0);
}

constexpr uint32_t anyMask = 0xFFF;
constexpr ExpectedResult portTypeWhenRead(int32_t portType) {
    return ExpectedResult({{0, portType}}, 0);
}

std::vector<Way> allWays() {
    using expected::openFirst;
    constexpr uint16_t none = 0; // an argument that is not read
    const auto each = [](auto function, auto... arguments) {
        return [=]() -> int32_t { return function(arguments...); };
    };
    static const uint32_t alertMask = 0x400000;
    // An alias answers what its export answers.
    std::vector<Way> ways;
    for (const bool alias : {false, true}) {
        const auto named = [&](auto *plain, auto *other) { return alias ? other : plain; };
        const auto open = each(named(KalOpen, KalOpenLM), none, handle, none);
        const auto close = each(named(KalClose, KalCloseLM), none, handle);
        const auto start = each(named(KalStartDoc, KalStartDocLM), handle, 0, "document");
        const auto end = each(named(KalEndDoc, KalEndDocLM), handle, 0);
        const auto writing = each(write, named(KalWrite, KalWriteLM));
        const auto enumerate =
            each(named(KalEnumPrinters, KalEnumPrintersLM), none, KAL_DISCOVER_FIRST | NETTYPEUSB, ignorePrinter);
        const auto find = each(named(KalEnumSpecificPort, KalEnumSpecificPortLM), none, anyMask, "PORT", ignorePrinter);
        const auto findByName = each(named(KalEnumByUNC, KalEnumByUNCLM), none, anyMask, "PORT", ignorePrinter);
        const auto capture = each(named(KalCaptureAlerts, KalCaptureAlertsLM), none, handle, &alertMask, nullptr);
        const auto release = each(named(KalReleaseAlerts, KalReleaseAlertsLM), none, handle);
        const auto bidi = each(sendBidi, named(KalSendBidi, KalSendBidiLM));
        // clang-format off
        const std::vector<Way> these = {
            {"KalOpen",             open,       Before::nothing,  "OrxOpenPrinter",              expected::standard},
            {"KalClose",            close,      Before::opened,   "OrxClosePrinter",             expected::close},
            {"KalStartDoc",         start,      Before::opened,   "OrxStartJobPrinter",          expected::standard},
            {"KalWrite",            writing,    Before::opened,   "OrxWritePrinter",             expected::write},
            {"KalEndDoc",           end,        Before::opened,   "OrxEndJobPrinter",            expected::standard},
            {"KalEnumPrinters",     enumerate,  Before::nothing,  "OrxDiscovery",                expected::ignored},
            {"KalEnumPrinters",     enumerate,  Before::nothing,  "OrxEnumPrinters",             expected::ignored},
            {"KalEnumSpecificPort", find,       Before::nothing,  "OrxEnumSpecificPrinter",      portTypeWhenRead(NETTYPEUSB)},
            {"KalEnumSpecificPort", find,       Before::nothing,  "OrxGetStringPrinter",         ExpectedResult({{0, NETTYPE_LOCAL}}, NETTYPEUSB), "Transport", "PAR1"},
            {"KalEnumSpecificPort", find,       Before::nothing,  "OrxGetStringPrinter",         portTypeWhenRead(NETTYPE_IP), "Portname", "IPv4"},
            {"KalEnumSpecificPort", find,       Before::nothing,  "OrxGetStringPrinter",         ExpectedResult({}, NETTYPE_IP), "Device", "IPv4"},
            {"KalEnumSpecificPort", find,       Before::nothing,  "OrxGetByteArrayPrinter",      portTypeWhenRead(NETTYPE_RHOA), "", "HBN1"},
            {"KalEnumByUNC",        findByName, Before::nothing,  "OrxEnumSpecificPrinter",      portTypeWhenRead(NETTYPEUSB)},
            {"KalCaptureAlerts",    capture,    Before::nothing,  "OrxOpenPrinter",              openFirst},
            {"KalCaptureAlerts",    capture,    Before::nothing,  "OrxRegisterForAlertsPrinter", expected::plain},
            {"KalReleaseAlerts",    release,    Before::captured, "OrxUnregisterForAlertsPrinter", expected::ignored},
            {"KalReleaseAlerts",    release,    Before::captured, "OrxClosePrinter",             expected::ignored},
            {"KalReleaseAlerts",    release,    Before::notified, "OrxUnregisterForNotificationsPrinter", expected::ignored},
            {"KalSendBidi",         bidi,       Before::nothing,  "OrxOpenPrinter",              openFirst},
            {"KalSendBidi",         bidi,       Before::nothing,  "OrxExchangeBidiPrinter",      expected::bidi},
            {"KalSendBidi",         bidi,       Before::nothing,  "OrxClosePrinter",             expected::ignored},
        };
        // clang-format on
        ways.insert(ways.end(), these.begin(), these.end());
    }
    const auto cancel = each(KalCancelJob, none, handle);
    const auto overlapped = [] {
        uint32_t count = 4;
        return KalWriteOverlapped(0, handle, 0, "data", &count, 0);
    };
    const auto endMode = each(KalSetEndOfJobMode, none, handle, none, none, uint16_t{5});
    const auto jobString = each(KalSetJobStringPrinter, none, handle, "key", "value");
    const auto cancelMode = each(KalSetJobCancelMode, none, handle, 1);
    const auto notify = each(KalSetJobControlMode, none, handle, 2);
    const auto notifyNot = each(KalSetJobControlMode, none, handle, 1);
    // clang-format off
    const std::vector<Way> these = {
        {"KalWriteOverlapped",     overlapped,  Before::opened,   "OrxWritePrinter",           expected::write},
        {"KalCancelJob",           cancel,      Before::opened,   "OrxCancelJobPrinter",       expected::plain},
        {"KalSetEndOfJobMode",     endMode,     Before::nothing,  "OrxSetJobStringPrinter",    expected::ignored},
        {"KalSetJobStringPrinter", jobString,   Before::nothing,  "OrxSetJobStringPrinter",    expected::ignored},
        {"KalSetJobCancelMode",    cancelMode,  Before::nothing,  "OrxSetByteArrayPrinter",    expected::plain},
        {"KalSetJobControlMode",   notify,      Before::nothing,  "OrxOpenPrinter",            expected::openFirst},
        {"KalSetJobControlMode",   notify,      Before::nothing,  "OrxRegisterForNotificationsPrinter", expected::notificationMode},
        {"KalSetJobControlMode",   notifyNot,   Before::notified, "OrxUnregisterForNotificationsPrinter", expected::notificationMode},
        {"KalSetJobControlMode",   notifyNot,   Before::notified, "OrxClosePrinter",           expected::ignored},
        {"KalGetCache",            getCache,    Before::nothing,  "OrxGetCachePrinter",        expected::cache},
        {"KalQueryPrinterStatus",  queryStatus, Before::nothing,  "OrxGetCurrentStatePrinter", expected::plain},
        // What the library asks by itself on the way to the first call.
        {"KalOpen",                each(KalOpen, none, handle, none), Before::nothing, "OrxGetClientId", expected::standard},
        {"KalGetCache",            getCache,    Before::nothing,  "OrxGetClientId",            expected::cache},
        {"KalQueryPrinterStatus",  queryStatus, Before::nothing,  "OrxGetClientId",            expected::plain},
        {"KalSetJobCancelMode",    cancelMode,  Before::nothing,  "OrxGetClientId",            expected::plain},
        {"KalOpen",                each(KalOpen, none, handle, none), Before::nothing, "OrxInitialize", expected::plain},
        {"KalSetJobControlMode",   notify,      Before::nothing,  "OrxInitialize",             expected::openFirst},
        {"KalQueryPrinterStatus",  queryStatus, Before::nothing,  "OrxInitialize",             expected::plain},
        {"KalQueryPrinterStatus",  queryStatus, Before::nothing,  "OrxUninitialize",           expected::ignored},
        {"KalClose",               each(KalClose, none, handle), Before::opened, "OrxUninitialize", expected::ignored},
    };
    // clang-format on
    ways.insert(ways.end(), these.begin(), these.end());
    return ways;
}

bool isLifecycle(const Way &way) {
    const std::string name = way.entryPoint;
    return name == "OrxInitialize" || name == "OrxUninitialize" || name == "OrxGetClientId";
}

/// Whether the operation holds references of its own while it is in the service. One on an open handle does not:
/// another thread may close the handle, and comc.dll goes with it.
bool holdsComc(const Way &way) {
    return std::ranges::any_of(operationsOf("CcO"),
                               [&](const Operation &each) { return "Orx" + each.name == way.entryPoint; });
}

class ExportAnswers : public testing::TestWithParam<Way> {
  protected:
    static constexpr DWORD slowMilliseconds = 3;

    const Way &way() const { return GetParam(); }
    /// The whole life of a registration around one call under one answer; no code: the entry point is missing.
    void tryAnswer(std::optional<uint32_t> code, Manner manner) {
        RecordedService service;
        giveProperties(service);
        KalRegisterApp(0);
        if (!isLifecycle(way())) // holds library and identifier, which those are asked for by the first call
            holdOther();
        prepare();
        const size_t asked = service.count(way().entryPoint);
        std::atomic<bool> isFirst = true;
        if (code)
            service.does(way().entryPoint, [&](const ServiceCall &call) {
                const bool isMeant =
                    call.number(1) != otherHandle && call.text(2).find(way().property) != std::string::npos;
                if (isMeant && isFirst.exchange(false))
                    act(manner, service);
                else if (std::string(way().entryPoint) == "OrxGetClientId" || !isMeant)
                    return ordinaryAnswer(call);
                return *code == 0 ? ordinaryAnswer(call) : *code;
            });
        else
            service.lacks(way().entryPoint);

        const int32_t result = way().call();
        // What reads several properties finds none of them: a printer without a port name is not reported.
        const bool lacksPortName = !code && *way().property != '\0';
        EXPECT_EQ(result, lacksPortName ? 0 : way().result(code.value_or(entryPointMissing)));
        EXPECT_EQ(service.count(way().entryPoint) > asked, code.has_value());
        const bool waits = std::string(way().entryPoint) == "OrxWritePrinter" && code == ERROR_INSUFFICIENT_BUFFER;
        EXPECT_EQ(pauses.exchange(0), waits ? 1 : 0);

        const bool isJobWithoutEntryPoint = !code && (std::string(way().entryPoint) == "OrxStartJobPrinter" ||
                                                      std::string(way().entryPoint) == "OrxEndJobPrinter");
        if (isJobWithoutEntryPoint || (manner == Manner::givenUp && !holdsComc(way()))) {
            EXPECT_EQ(KalCancelJob(0, handle), KAL_FAIL);
            EXPECT_EQ(KalClose(0, handle), DEVERR_INVHANDLE) << "the handle should be closed";
        }
        if (pinned != nullptr)
            FreeLibrary(pinned);
        pinned = nullptr;
        giveBack(service, code);
        KalUnregisterApp(0);
        EXPECT_FALSE(service.isLoaded());
        EXPECT_EQ(GetModuleHandleA("comc.dll"), nullptr);
    }

    void giveProperties(RecordedService &service) {
        texts = {{"Transport", way().transport}, {"Portname", "PORT"}, {"Device", "CpdPrinter"}};
        service.does("OrxGetStringPrinter", [this](const ServiceCall &call) { return ordinaryAnswer(call); });
        service.does("OrxRegisterForAlertsPrinter", [this](const ServiceCall &call) { return ordinaryAnswer(call); });
        service.does("OrxRegisterForNotificationsPrinter",
                     [this](const ServiceCall &call) { return ordinaryAnswer(call); });
    }

    /// What the service does when all is well.
    uint32_t ordinaryAnswer(const ServiceCall &call) {
        if (call.entryPoint == "OrxGetClientId")
            *call.pointer<uint32_t>(0) = 101;
        else if (call.entryPoint == "OrxRegisterForAlertsPrinter")
            alertCallback = call.callback<std::remove_pointer_t<OrxAlertCallback>>(3);
        else if (call.entryPoint == "OrxRegisterForNotificationsPrinter")
            notificationCallback = call.callback<std::remove_pointer_t<OrxNotificationCallback>>(3);
        else if (call.entryPoint == "OrxGetStringPrinter")
            for (const auto &[name, text] : texts)
                if (call.text(2).find("<Name>" + name + "<") != std::string::npos)
                    std::memcpy(call.pointer<char>(3), text.c_str(), text.size() + 1);
        return 0;
    }

    void holdOther() {
        const uint32_t mask = 0x400000;
        ASSERT_EQ(KalCaptureAlerts(0, otherHandle, &mask, nullptr), KAL_OKAY);
        ASSERT_EQ(KalSetJobControlMode(0, otherHandle, 2), KAL_OKAY);
    }
    void prepare() {
        const uint32_t mask = 0x400000;
        if (way().before == Before::opened || way().before == Before::notified) {
            ASSERT_EQ(KalOpen(0, handle, 0), KAL_OKAY);
        }
        if (way().before == Before::captured || way().before == Before::notified) {
            ASSERT_EQ(KalCaptureAlerts(0, handle, &mask, nullptr), KAL_OKAY);
        }
        if (way().before == Before::notified) {
            ASSERT_EQ(KalSetJobControlMode(0, handle, 2), KAL_OKAY);
        }
    }

    /// In the middle of the service's call.
    void act(Manner manner, RecordedService &service) {
        if (manner == Manner::slowly)
            Sleep(slowMilliseconds);
        if (manner == Manner::calledBack)
            std::thread([&] {
                const uint8_t powerOnReset[8] = {0xA5, 0, 0, 0, 0xFF, 1};
                EXPECT_EQ(alertCallback(otherHandle, powerOnReset, sizeof powerOnReset), 0u);
                const uint32_t printing = 1;
                EXPECT_EQ(notificationCallback(otherHandle, printing, printing, nullptr, nullptr, nullptr), 0u);
            }).join();
        if (manner == Manner::givenUp) {
            if (!holdsComc(way())) // the code of this very call must stay; nothing of the library's holds it here
                pinned = LoadLibraryA((programFolder() / "comc.dll").string().c_str());
            std::thread([] {
                for (const uint16_t each : {handle, otherHandle})
                    closeWholly(each);
            }).join();
            EXPECT_EQ(service.count("OrxUninitialize"), holdsComc(way()) ? 0u : 1u);
        }
    }

    static void closeWholly(uint16_t which) {
        while (KalReleaseAlerts(0, which) == KAL_OKAY) {
        }
        while (KalClose(0, which) == KAL_OKAY) {
        }
    }

    /// Everything that is held, one after the other: comc.dll stays until the last and no longer.
    void giveBack(RecordedService &service, std::optional<uint32_t> code) {
        const std::string entryPoint = way().entryPoint;
        if (!code && entryPoint == "OrxClosePrinter")
            return; // its references are gone although the handle is known: only the end of the registration helps
        service.does(entryPoint, [this](const ServiceCall &call) { return ordinaryAnswer(call); });
        closeWholly(handle);
        EXPECT_EQ(KalClose(0, handle), DEVERR_INVHANDLE);
        if (service.isLoaded() || !isLifecycle(way())) {
            closeWholly(otherHandle);
        }
        EXPECT_FALSE(service.isLoaded());
        EXPECT_EQ(service.loads(), service.unloads());
    }

    void tryEveryAnswer(Manner manner) {
        for (const uint32_t code : serviceCodes) {
            SCOPED_TRACE("code " + std::to_string(code));
            tryAnswer(code, manner);
        }
    }

    PrivateMachine machine;
    std::map<std::string, std::string> texts;
    std::atomic<OrxAlertCallback> alertCallback = nullptr;
    std::atomic<OrxNotificationCallback> notificationCallback = nullptr;
    HMODULE pinned = nullptr;
    std::atomic<int> pauses = 0;
    ImportHook<"Sleep", void(DWORD)> sleep{GetModuleHandleA("kalclient.dll"), [this](DWORD milliseconds) {
                                               if (milliseconds == 2000)
                                                   ++pauses;
                                               else
                                                   sleep.original(milliseconds);
                                           }};
};

std::vector<Way> waysThat(const std::function<bool(const Way &)> &condition) {
    std::vector<Way> ways = allWays();
    std::erase_if(ways, [&](const Way &way) { return !condition(way); });
    return ways;
}

} // namespace

TEST_P(ExportAnswers, MissingEntryPointGivesItsResult) {
    tryAnswer(std::nullopt, Manner::atOnce);
}

TEST_P(ExportAnswers, EveryCodeGivesItsResult) {
    tryEveryAnswer(Manner::atOnce);
}

TEST_P(ExportAnswers, SlowAnswerGivesTheSameResult) {
    tryEveryAnswer(Manner::slowly);
}

INSTANTIATE_TEST_SUITE_P(Ways, ExportAnswers, testing::ValuesIn(allWays()));

using CalledBack = ExportAnswers;

TEST_P(CalledBack, CallFromAnotherThreadInTheMiddleChangesNoResult) {
    tryEveryAnswer(Manner::calledBack);
}

INSTANTIATE_TEST_SUITE_P(Ways, CalledBack,
                         testing::ValuesIn(waysThat([](const Way &way) { return !isLifecycle(way); })));

using GivenUp = ExportAnswers;

TEST_P(GivenUp, CloseByAnotherThreadInTheMiddleChangesNoResult) {
    tryEveryAnswer(Manner::givenUp);
}

INSTANTIATE_TEST_SUITE_P(Ways, GivenUp, testing::ValuesIn(waysThat([](const Way &way) {
                             return holdsComc(way) ||
                                    (way.before == Before::opened && std::string(way.entryPoint) != "OrxClosePrinter" &&
                                     !isLifecycle(way));
                         })));

/// The exports that promise to ask the service nothing.
TEST(OtherExports, AskTheServiceNothingWhateverItWouldAnswer) {
    const PrivateMachine machine;
    for (const uint32_t code : serviceCodes) {
        RecordedService service;
        for (const std::string &name : entryPointNames())
            service.answers(name, code);
        KalRegisterApp(0);
        EXPECT_EQ(KalRegisterWithRpcServer(nullptr), 1);
        KalUnregisterApp(0);
        const HMODULE library = GetModuleHandleA("kalclient.dll");
        const auto result = [&](const std::string &name) { return exported<int32_t()>(library, name.c_str())(); };
        for (const UnsupportedExport &each : unsupportedExports)
            EXPECT_EQ(result(each.name), KAL_FAIL) << each.name;
        for (const Alias &each : unreadAliases)
            EXPECT_EQ(result(each.name), result(each.plainName())) << each.name;
        for (const FixedExport &each : fixedExports)
            EXPECT_EQ(result(each.name), each.answer) << each.name;
        exported<void()>(library, "KalPrepareRhoaForUninstall")();
        KalSetClientName("client");
        uint16_t size = 0;
        EXPECT_EQ(KalQueryAlerts(0, 0xFFFF, 0, 0, nullptr, &size), KAL_FAIL);
        KalUnregisterApp(0);
        EXPECT_EQ(service.loads(), 0) << "code " << code;
    }
}
