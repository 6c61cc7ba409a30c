// Each export against its floor: both in one process, batch about batch, so that a machine whose speed drifts does not
// matter. What counts is the median of the ratios.

#include "bench/BenchLibrary.h"
#include "bench/FloorWork.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <vector>

namespace {

using bench::BenchLibrary;
using bench::FloorWork;
using bench::LogState;
using Clock = std::chrono::steady_clock;

constexpr uint16_t handle = 3;
constexpr int rounds = 61;

struct Pair {
    std::string name;
    std::function<void()> subject;
    std::function<void()> floor;
    double worthOfOne = 1; ///< units of work a call stands for (printers, for an enumeration)
};

/// Microseconds that count calls take.
double timeOf(const std::function<void()> &call, int count) {
    const auto start = Clock::now();
    for (int each = 0; each < count; ++each) {
        call();
    }
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

double quantile(std::vector<double> values, double part) {
    std::ranges::sort(values);
    return values[static_cast<size_t>(part * static_cast<double>(values.size() - 1))];
}

struct Measured {
    double subject; ///< microseconds a call, median
    double floor;
    double ratio; ///< median of the rounds' ratios
    double low;   ///< quartiles of the ratios
    double high;
};

Measured measure(const Pair &pair, const std::function<void()> &betweenBatches) {
    constexpr double batchMicroseconds = 4000;
    timeOf(pair.subject, 2);
    timeOf(pair.floor, 2);
    const double once = timeOf(pair.floor, 4) / 4;
    const int count = std::clamp(static_cast<int>(batchMicroseconds / (once + 0.01)), 1, 20000);
    std::vector<double> subjects;
    std::vector<double> floors;
    std::vector<double> ratios;
    for (int round = 0; round < rounds; ++round) {
        double subject = 0;
        double floor = 0;
        // Who comes first alternates: the second finds warmer caches.
        for (const bool isSubject : {round % 2 == 0, round % 2 != 0}) {
            betweenBatches();
            (isSubject ? subject : floor) = timeOf(isSubject ? pair.subject : pair.floor, count) / count;
        }
        subjects.push_back(subject);
        floors.push_back(floor);
        ratios.push_back(subject / floor);
    }
    return {quantile(subjects, 0.5), quantile(floors, 0.5), quantile(ratios, 0.5), quantile(ratios, 0.25),
            quantile(ratios, 0.75)};
}

void drainMessages() {
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
    }
}

HWND makeMessageWindow() {
    WNDCLASSA type = {};
    type.lpfnWndProc = DefWindowProcA;
    type.lpszClassName = "floor";
    RegisterClassA(&type);
    return CreateWindowExA(0, "floor", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
}

std::vector<Pair> pairs(const BenchLibrary &library, FloorWork &floor, HWND window, LogState state) {
    static const std::vector<char> document(65536, 'x');
    static const uint8_t request[] = {0xA5, 0, 3, 0x50, 4, 0};
    static const uint8_t alert[24] = {0xA5, 0, 21, 0, 0xF0, 0x73, 0, 0, 0, 0, 2};
    auto *const open = library.get<decltype(KalOpen)>("KalOpen");
    auto *const close = library.get<decltype(KalClose)>("KalClose");
    auto *const startDoc = library.get<decltype(KalStartDoc)>("KalStartDoc");
    auto *const endDoc = library.get<decltype(KalEndDoc)>("KalEndDoc");
    auto *const write = library.get<decltype(KalWrite)>("KalWrite");
    auto *const sendBidi = library.get<decltype(KalSendBidi)>("KalSendBidi");
    auto *const enumPrinters = library.get<decltype(KalEnumPrinters)>("KalEnumPrinters");
    auto *const setClientName = library.get<decltype(KalSetClientName)>("KalSetClientName");
    const auto writeOf = [=](uint32_t size) {
        return [=] {
            uint32_t count = size;
            write(0, handle, 0, document.data(), &count);
        };
    };
    std::vector<Pair> all = {
        {"KalWrite, 4 KiB", writeOf(4096), [&] { floor.write(handle, document.data(), 4096); }},
        {"KalWrite, 64 KiB", writeOf(65536), [&] { floor.write(handle, document.data(), 65536); }},
        {"KalStartDoc and KalEndDoc",
         [=] {
             startDoc(handle, 0, "document");
             endDoc(handle, 0);
         },
         [&] { floor.startAndEndDoc(handle); }},
        {"KalOpen and KalClose",
         [=] {
             open(0, handle, 0);
             close(0, handle);
         },
         [&] { floor.openAndClose(handle); }},
        {"KalSendBidi",
         [=] {
             uint8_t response[64];
             uint32_t size = sizeof response;
             sendBidi(0, handle, 0, 1, response, &size, nullptr, 0);
         },
         [&] { floor.sendBidi(handle, request, sizeof request); }},
        {"KalEnumPrinters, 1,000 printers", [=] { enumPrinters(0, NETTYPEUSB, nullptr); },
         [&] { floor.enumPrinters(); }, 1000},
        {"alert to PostMessageA", [callback = BenchLibrary::alertCallback()] { callback(handle, alert, sizeof alert); },
         [&, window] { floor.alert(window, handle, alert, sizeof alert); }},
    };
    if (state == LogState::on) {
        // The export that does nothing but write one line, and take the registration lock.
        all.push_back({"a log line (KalSetClientName)", [=] { setClientName(nullptr); },
                       [&] { floor.lineOnly("KalSetClientName was called"); }});
    }
    return all;
}

int run(const char *resultPath) {
    SetEnvironmentVariableA("KAL_BENCH_PRINTERS", "1000");
    BenchLibrary library;
    const HWND window = makeMessageWindow();
    auto results = nlohmann::json::array();
    std::printf("%-12s %-32s %12s %12s %7s %15s\n", "log", "what", "floor us", "library us", "ratio", "quartiles");
    for (const LogState state : bench::logStates) {
        library.enter(state);
        library.get<decltype(KalOpen)>("KalOpen")(0, handle, 0);
        const uint32_t mask = 1;
        library.get<decltype(KalCaptureAlerts)>("KalCaptureAlerts")(0, handle, &mask, window);
        FloorWork floor(library, state);
        const auto betweenBatches = [&] {
            drainMessages();
            DeleteFileA(library.logPath().c_str()); // both append to a small file
        };
        for (const Pair &pair : pairs(library, floor, window, state)) {
            const Measured measured = measure(pair, betweenBatches);
            std::printf("%-12s %-32s %12.2f %12.2f %7.3f %7.3f-%.3f\n", bench::nameOf(state), pair.name.c_str(),
                        measured.floor, measured.subject, measured.ratio, measured.low, measured.high);
            std::fflush(stdout);
            results.push_back({{"state", bench::nameOf(state)},
                               {"what", pair.name},
                               {"floorMicroseconds", measured.floor},
                               {"libraryMicroseconds", measured.subject},
                               {"ratio", measured.ratio},
                               {"lowerQuartile", measured.low},
                               {"upperQuartile", measured.high}});
        }
        library.get<decltype(KalReleaseAlerts)>("KalReleaseAlerts")(0, handle);
        library.get<decltype(KalClose)>("KalClose")(0, handle);
    }
    std::ofstream(resultPath) << results.dump(2) << '\n';
    return 0;
}

} // namespace

int main(int argumentCount, char **arguments) {
    if (argumentCount != 2) {
        std::fprintf(stderr, "usage: floor result.json\n");
        return 2;
    }
    try {
        return run(arguments[1]);
    } catch (const std::exception &exception) {
        std::fprintf(stderr, "floor: %s\n", exception.what());
        return 1;
    }
}
