// The ledger: for each export and each state of the log, every import that the library calls, lock acquisitions and
// allocations among them, against the list of those that its work requires. Exact, so it is a test.

#include "bench/BenchLibrary.h"
#include "bench/ImportCounter.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <fstream>
#include <functional>
#include <set>
#include <vector>

namespace {

using bench::BenchLibrary;
using bench::ImportCounter;
using bench::LogState;
using nlohmann::json;

constexpr uint16_t handle = 3;

/// One measured call, between what it needs before and what is tidied after it.
struct Scenario {
    std::string name;
    std::function<void()> call;
    std::function<void()> before = [] {};
    std::function<void()> after = [] {};
};

LRESULT CALLBACK ignoreMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    return DefWindowProcA(window, message, wParam, lParam);
}

HWND makeMessageWindow() {
    WNDCLASSA type = {};
    type.lpfnWndProc = ignoreMessage;
    type.lpszClassName = "ledger";
    RegisterClassA(&type);
    return CreateWindowExA(0, "ledger", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
}

void drainMessages() {
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
    }
}

std::vector<Scenario> scenarios(const BenchLibrary &library, HWND window) {
#define EXPORT(name) auto *const name##Function = library.get<decltype(name)>(#name)
    EXPORT(KalOpen);
    EXPORT(KalClose);
    EXPORT(KalStartDoc);
    EXPORT(KalWrite);
    EXPORT(KalWriteOverlapped);
    EXPORT(KalEndDoc);
    EXPORT(KalCancelJob);
    EXPORT(KalSetEndOfJobMode);
    EXPORT(KalSetJobCancelMode);
    EXPORT(KalSetJobControlMode);
    EXPORT(KalSetJobStringPrinter);
    EXPORT(KalEnumPrinters);
    EXPORT(KalEnumSpecificPort);
    EXPORT(KalEnumByUNC);
    EXPORT(KalGetCache);
    EXPORT(KalCaptureAlerts);
    EXPORT(KalReleaseAlerts);
    EXPORT(KalQueryAlerts);
    EXPORT(KalQueryPrinterStatus);
    EXPORT(KalSendBidi);
    EXPORT(KalRegisterApp);
    EXPORT(KalUnregisterApp);
    EXPORT(KalSetClientName);
    EXPORT(KalStartRpcServer);
    EXPORT(KalGetVersion);
    EXPORT(KalGetVersionLM);
    EXPORT(KalCloseLM);
    EXPORT(Initialize);
    EXPORT(Uninitialize);
#undef EXPORT
    const auto open = [=] { KalOpenFunction(0, handle, 0); };
    const auto close = [=] { KalCloseFunction(0, handle); };
    const auto capture = [=] {
        const uint32_t mask = 1;
        KalCaptureAlertsFunction(0, handle, &mask, window);
    };
    const auto release = [=] { KalReleaseAlertsFunction(0, handle); };
    // From offset 10 on an extended alert of type 2 (warnings).
    static const uint8_t alert[24] = {0xA5, 0, 21, 0, 0xF0, 0x73, 0, 0, 0, 0, 2};
    const auto deliverAlert = [] { BenchLibrary::alertCallback()(handle, alert, sizeof alert); };
    const auto notify = [=] { KalSetJobControlModeFunction(0, handle, 2); };
    const auto write = [=] {
        static const char data[4096] = {};
        uint32_t count = sizeof data;
        KalWriteFunction(0, handle, 0, data, &count);
    };

    return {
        {"KalOpen, first of the process", open, [] {}, close},
        {"KalOpen, again", open, open, [=] { close(), close(); }},
        {"KalClose, last", close, open},
        {"KalClose, not last", close, [=] { open(), open(); }, close},
        {"KalClose of an unknown handle", close},
        {"KalStartDoc", [=] { KalStartDocFunction(handle, 0, "document"); }, open, close},
        {"KalWrite", write, open, close},
        {"KalWriteOverlapped",
         [=] {
             static const char data[4096] = {};
             uint32_t count = sizeof data;
             KalWriteOverlappedFunction(0, handle, 0, data, &count, 0);
         },
         open, close},
        {"KalEndDoc", [=] { KalEndDocFunction(handle, 0); }, open, close},
        {"KalCancelJob", [=] { KalCancelJobFunction(0, handle); }, open, close},
        {"KalSetEndOfJobMode", [=] { KalSetEndOfJobModeFunction(0, handle, 0, 0, 5); }, open, close},
        {"KalSetJobCancelMode", [=] { KalSetJobCancelModeFunction(0, handle, 1); }, open, close},
        {"KalSetJobControlMode, start", notify, open,
         [=] {
             KalSetJobControlModeFunction(0, handle, 1);
             close();
         }},
        {"KalSetJobControlMode, stop", [=] { KalSetJobControlModeFunction(0, handle, 1); }, [=] { open(), notify(); },
         close},
        {"KalSetJobStringPrinter", [=] { KalSetJobStringPrinterFunction(0, handle, "key", "value"); }, open, close},
        {"KalEnumPrinters, one printer", [=] { KalEnumPrintersFunction(0, NETTYPEUSB, nullptr); }, open, close},
        {"KalEnumSpecificPort", [=] { KalEnumSpecificPortFunction(0, 0xFFF, "USB001", nullptr); }, open, close},
        {"KalEnumByUNC", [=] { KalEnumByUNCFunction(0, 0xFFF, "USB001", nullptr); }, open, close},
        {"KalGetCache",
         [=] {
             uint8_t buffer[64];
             uint32_t length = 0;
             KalGetCacheFunction(0, handle, buffer, sizeof buffer, &length);
         },
         open, close},
        {"KalCaptureAlerts, first of the handle", capture, open, [=] { release(), close(); }},
        {"KalCaptureAlerts, again", capture, [=] { open(), capture(); }, [=] { release(), release(), close(); }},
        {"KalReleaseAlerts", release, [=] { open(), open(), capture(); }, close},
        {"alert to message, its id come round again", deliverAlert,
         [=] {
             capture();
             InitializeFunction();
             deliverAlert();
             InitializeFunction();
         },
         [=] { release(), drainMessages(); }},
        {"notification to message",
         [] { BenchLibrary::notificationCallback()(handle, 1, 1, nullptr, nullptr, nullptr); },
         [=] { capture(), notify(); }, [=] { release(), drainMessages(); }},
        {"KalQueryAlerts",
         [=] {
             uint8_t buffer[64];
             uint16_t size = sizeof buffer;
             KalQueryAlertsFunction(0, 0, 0, 0, buffer, &size);
         },
         [=] { open(), capture(), deliverAlert(); }, [=] { release(), close(), drainMessages(); }},
        {"KalQueryPrinterStatus",
         [=] {
             KalPrinterStatusRecord record;
             uint32_t needed = 0;
             KalQueryPrinterStatusFunction(0, handle, 0, &record, sizeof record, &needed);
         },
         open, close},
        {"KalSendBidi",
         [=] {
             uint8_t response[64];
             uint32_t size = sizeof response;
             KalSendBidiFunction(0, handle, 0, 1, response, &size, nullptr, 0);
         },
         open, close},
        {"KalRegisterApp, not first", [=] { KalRegisterAppFunction(0); }, [] {}, [=] { KalUnregisterAppFunction(0); }},
        {"KalUnregisterApp, not last", [=] { KalUnregisterAppFunction(0); }, [=] { KalRegisterAppFunction(0); }},
        {"KalSetClientName", [=] { KalSetClientNameFunction("name"); }},
        {"a fixed answer (KalStartRpcServer)", [=] { KalStartRpcServerFunction(); }},
        {"an unsupported export (KalGetVersion)", [=] { KalGetVersionFunction(); }},
        {"an alias (KalGetVersionLM)", [=] { KalGetVersionLMFunction(); }},
        {"an alias (KalCloseLM), unknown handle", [=] { KalCloseLMFunction(0, handle); }},
        {"Initialize", [=] { InitializeFunction(); }},
        {"Uninitialize", [=] { UninitializeFunction(); }},
    };
}

/// The calls of a scenario in steady state: made once before, so that settings are cached and the thread is known, and
/// with the tick moved on, since a setting that was read in this very tick is read again.
ImportCounter::Counts measure(const Scenario &scenario, const ImportCounter &counter) {
    const auto run = [&] {
        scenario.before();
        Sleep(20);
        const auto start = counter.counts();
        scenario.call();
        const auto calls = counter.since(start);
        scenario.after();
        return calls;
    };
    run();
    return run();
}

/// Sums the fragments of a scenario for a state.
ImportCounter::Counts requiredCalls(const json &required, const std::string &scenario, const std::string &state) {
    ImportCounter::Counts sum;
    for (const std::string fragment : required.at("scenarios").at(scenario)) {
        const json &definition = required.at("fragments").at(fragment);
        for (const char *part : {"always", state.c_str()}) {
            if (definition.contains(part)) {
                for (const auto &[function, count] : definition.at(part).items()) {
                    sum[function] += count.get<uint64_t>();
                }
            }
        }
    }
    return sum;
}

std::string describe(const ImportCounter::Counts &counts) {
    std::string text;
    for (const auto &[function, calls] : counts) {
        text += (text.empty() ? "" : " ") + function + "=" + std::to_string(calls);
    }
    return text;
}

int run(const char *requiredPath) {
    std::ifstream file(requiredPath);
    const json required = json::parse(file);
    const auto ignored = required.at("ignored").get<std::set<std::string>>();

    BenchLibrary library;
    const HWND window = makeMessageWindow();
    const ImportCounter counter(library.module());
    int equal = 0;
    int different = 0;
    for (const LogState state : bench::logStates) {
        library.enter(state);
        for (const Scenario &scenario : scenarios(library, window)) {
            ImportCounter::Counts calls = measure(scenario, counter);
            std::erase_if(calls, [&](const auto &entry) { return ignored.contains(entry.first); });
            ImportCounter::Counts expected;
            if (required.at("scenarios").contains(scenario.name)) {
                expected = requiredCalls(required, scenario.name, bench::nameOf(state));
            }
            const bool isEqual = calls == expected;
            (isEqual ? equal : different)++;
            std::printf("%-9s %-12s %s\n", isEqual ? "equal" : "DIFFERENT", bench::nameOf(state),
                        scenario.name.c_str());
            if (!isEqual) {
                std::printf("          required: %s\n          made:     %s\n", describe(expected).c_str(),
                            describe(calls).c_str());
            }
            std::fflush(stdout);
        }
    }
    std::printf("%d ledger entries equal, %d different\n", equal, different);
    return different == 0 ? 0 : 1;
}

} // namespace

int main(int argumentCount, char **arguments) {
    if (argumentCount != 2) {
        std::fprintf(stderr, "usage: ledger required.json\n");
        return 2;
    }
    try {
        return run(arguments[1]);
    } catch (const std::exception &exception) {
        std::fprintf(stderr, "ledger: %s\n", exception.what());
        return 1;
    }
}
