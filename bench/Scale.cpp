// How the time of a call depends on how much there is: open handles, stored alerts, threads, bytes in the log,
// printers. Written as one JSON object: curve by curve, its points, and against threads the floor's throughput, too.

#include "bench/BenchLibrary.h"
#include "bench/FloorWork.h"
#include "bench/Timing.h"

#include <nlohmann/json.hpp>

#include <atomic>
#include <cstdio>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using bench::BenchLibrary;
using bench::FloorWork;
using bench::LogState;
using nlohmann::json;

constexpr char document[4096] = {};

/// The exports that the curves need.
struct Exports {
    explicit Exports(const BenchLibrary &library)
        : write(library.get<decltype(KalWrite)>("KalWrite")),
          captureAlerts(library.get<decltype(KalCaptureAlerts)>("KalCaptureAlerts")),
          releaseAlerts(library.get<decltype(KalReleaseAlerts)>("KalReleaseAlerts")),
          queryAlerts(library.get<decltype(KalQueryAlerts)>("KalQueryAlerts")),
          enumPrinters(library.get<decltype(KalEnumPrinters)>("KalEnumPrinters")),
          setClientName(library.get<decltype(KalSetClientName)>("KalSetClientName")) {}

    decltype(KalWrite) *write;
    decltype(KalCaptureAlerts) *captureAlerts;
    decltype(KalReleaseAlerts) *releaseAlerts;
    decltype(KalQueryAlerts) *queryAlerts;
    decltype(KalEnumPrinters) *enumPrinters;
    decltype(KalSetClientName) *setClientName;

    /// Opens a handle, on this thread; KalOpen would start one for each.
    void openQuickly(uint32_t handle, HWND window = nullptr) const {
        const uint32_t mask = 1;
        captureAlerts(0, static_cast<uint16_t>(handle), &mask, window);
    }
    void closeQuickly(uint32_t handle) const { releaseAlerts(0, static_cast<uint16_t>(handle)); }
    void writeTo(uint32_t handle) const {
        uint32_t count = sizeof document;
        write(0, static_cast<uint16_t>(handle), 0, document, &count);
    }
};

/// Median and quartiles of the microseconds of repeated calls; call gets its number.
template <class Call>
json timesOf(int count, double unitsInACall, Call call) {
    std::vector<double> times;
    for (int number = 0; number < count; ++number) {
        const uint64_t start = bench::ticks();
        call(number);
        times.push_back(bench::microsecondsOf(bench::ticks() - start) / unitsInACall);
    }
    return {{"median", bench::quantile(times, 0.5)},
            {"lowerQuartile", bench::quantile(times, 0.25)},
            {"upperQuartile", bench::quantile(times, 0.75)}};
}

/// A repeatable walk over 16 bits that visits no neighbour of the one before.
uint32_t spread(int number) {
    return static_cast<uint32_t>(number) * 40503u & 0xFFFF;
}

void report(json &points, double amount, json times) {
    std::printf("  %12.0f %12.3f us\n", amount, times.at("median").get<double>());
    std::fflush(stdout);
    times["amount"] = amount;
    points.push_back(std::move(times));
}

json handlesCurve(const Exports &exports) {
    std::puts("KalWrite against open handles");
    json points = json::array();
    uint32_t open = 0;
    for (const uint32_t count : {1u, 16u, 256u, 4096u, 16384u, 65536u}) {
        for (; open < count; ++open) {
            exports.openQuickly(open);
        }
        report(points, count, timesOf(5000, 1, [&](int number) { exports.writeTo(spread(number) % count); }));
    }
    for (uint32_t handle = 0; handle < open; ++handle) {
        exports.closeQuickly(handle);
    }
    return points;
}

/// Alerts come in and are fetched; a full store replaces.
json alertsCurve(const Exports &exports, const BenchLibrary &library) {
    std::puts("Alert in and KalQueryAlerts against stored alerts");
    static const uint8_t alert[24] = {0xA5, 0, 21, 0, 0xF0, 0x73, 0, 0, 0, 0, 2};
    exports.openQuickly(3);
    const OrxAlertCallback deliver = BenchLibrary::alertCallback();
    library.get<decltype(Initialize)>("Initialize")(); // ids from 0 on
    json points = json::array();
    uint32_t stored = 0;
    for (const uint32_t count : {16u, 256u, 4096u, 16384u, 65536u}) {
        for (; stored < count; ++stored) {
            deliver(3, alert, sizeof alert);
        }
        report(points, count, timesOf(3000, 1, [&](int number) {
                   uint8_t buffer[64];
                   uint16_t size = sizeof buffer;
                   exports.queryAlerts(0, static_cast<uint16_t>(spread(number) % count), 0, 0, buffer, &size);
               }));
    }
    exports.closeQuickly(3);
    return points;
}

/// Writes a microsecond of all threads together, for a while.
template <class Call>
double throughput(unsigned threadCount, Call call) {
    constexpr DWORD milliseconds = 150;
    const HANDLE begin = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    std::atomic<bool> isOver = false;
    std::atomic<uint64_t> calls = 0;
    std::vector<std::thread> threads;
    for (unsigned number = 0; number < threadCount; ++number) {
        threads.emplace_back([&, number] {
            WaitForSingleObject(begin, INFINITE);
            uint64_t mine = 0;
            for (; !isOver.load(std::memory_order_relaxed); ++mine) {
                call(number);
            }
            calls += mine;
        });
    }
    SetEvent(begin);
    const uint64_t start = bench::ticks();
    Sleep(milliseconds);
    isOver = true;
    const double time = bench::microsecondsOf(bench::ticks() - start);
    for (std::thread &each : threads) {
        each.join();
    }
    CloseHandle(begin);
    return static_cast<double>(calls) / time;
}

json threadsCurve(const Exports &exports, const BenchLibrary &library, LogState state) {
    constexpr int rounds = 9;
    std::puts("Throughput of KalWrite against threads, and that of the floor");
    for (uint32_t handle = 0; handle < 64; ++handle) {
        exports.openQuickly(handle);
    }
    FloorWork floor(library, state);
    json points = json::array();
    for (const unsigned threadCount : {1u, 2u, 4u, 16u, 64u}) {
        std::vector<double> subjects;
        std::vector<double> floors;
        std::vector<double> ratios;
        for (int round = 0; round < rounds; ++round) {
            subjects.push_back(throughput(threadCount, [&](unsigned number) { exports.writeTo(number); }));
            floors.push_back(throughput(threadCount, [&](unsigned number) {
                floor.write(static_cast<uint16_t>(number), document, sizeof document);
            }));
            ratios.push_back(subjects.back() / floors.back());
        }
        points.push_back({{"amount", threadCount},
                          {"callsAMicrosecond", bench::quantile(subjects, 0.5)},
                          {"floorCallsAMicrosecond", bench::quantile(floors, 0.5)},
                          {"ratio", bench::quantile(ratios, 0.5)},
                          {"lowerQuartile", bench::quantile(ratios, 0.25)},
                          {"upperQuartile", bench::quantile(ratios, 0.75)}});
        std::printf("  %12u %12.4f calls/us, floor %.4f, ratio %.3f\n", threadCount, bench::quantile(subjects, 0.5),
                    bench::quantile(floors, 0.5), bench::quantile(ratios, 0.5));
        std::fflush(stdout);
    }
    for (uint32_t handle = 0; handle < 64; ++handle) {
        exports.closeQuickly(handle);
    }
    return points;
}

/// The log's file, as long as wanted; without content, so that it costs no disk.
void lengthenLog(const std::string &path, int64_t length) {
    const HANDLE file = CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                    OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    LARGE_INTEGER end;
    end.QuadPart = length;
    const bool isLong = file != INVALID_HANDLE_VALUE && SetFilePointerEx(file, end, nullptr, FILE_BEGIN) != 0 &&
                        SetEndOfFile(file) != 0;
    CloseHandle(file);
    if (!isLong) {
        throw std::runtime_error("cannot lengthen " + path);
    }
}

json logCurve(const Exports &exports, const BenchLibrary &library) {
    std::puts("A log line against the log's size");
    json points = json::array();
    for (const int64_t size : {int64_t{0}, int64_t{1} << 20, int64_t{16} << 20, int64_t{256} << 20, int64_t{1} << 30}) {
        DeleteFileA(library.logPath().c_str());
        lengthenLog(library.logPath(), size);
        report(points, static_cast<double>(size), timesOf(2000, 1, [&](int) { exports.setClientName(nullptr); }));
    }
    DeleteFileA(library.logPath().c_str());
    return points;
}

json printersCurve(const Exports &exports) {
    std::puts("KalEnumPrinters for each printer, against printers");
    json points = json::array();
    for (const uint32_t count : {1u, 10u, 100u, 1000u, 10000u}) {
        BenchLibrary::setPrinterCount(count);
        const int calls = static_cast<int>(std::max(3u, 3000 / count));
        report(points, count, timesOf(calls, count, [&](int) { exports.enumPrinters(0, NETTYPEUSB, nullptr); }));
    }
    return points;
}

int run(const char *resultPath) {
    BenchLibrary library;
    const Exports exports(library);
    json result;
    library.enter(LogState::off);
    // comc.dll stays loaded, although every release closes twice.
    for (int opens = 0; opens < 2; ++opens) {
        library.get<decltype(KalOpen)>("KalOpen")(0, 0xFFFF, 0);
    }
    result["handles"] = handlesCurve(exports);
    result["alerts"] = alertsCurve(exports, library);
    result["threads"] = threadsCurve(exports, library, LogState::off);
    result["printers"] = printersCurve(exports);
    library.enter(LogState::on);
    result["log"] = logCurve(exports, library);
    std::ofstream(resultPath) << result.dump(2) << '\n';
    return 0;
}

} // namespace

int main(int argumentCount, char **arguments) {
    if (argumentCount != 2) {
        std::fprintf(stderr, "usage: scale result.json\n");
        return 2;
    }
    try {
        return run(arguments[1]);
    } catch (const std::exception &exception) {
        std::fprintf(stderr, "scale: %s\n", exception.what());
        return 1;
    }
}
