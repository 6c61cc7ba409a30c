// How the time of a call depends on how much there is: open handles, stored alerts, bytes in the log, printers.
// Written as one JSON object: curve by curve, its points.

#include "bench/BenchLibrary.h"
#include "bench/Exports.h"
#include "bench/Program.h"
#include "bench/Timing.h"

#include <cstdio>
#include <string>
#include <vector>

namespace {

using bench::BenchLibrary;
using bench::Exports;
using bench::LogState;
using nlohmann::json;

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

nlohmann::json measureAll() {
    BenchLibrary library;
    const Exports exports(library);
    json result;
    library.enter(LogState::off);
    bench::keepServiceLoaded(library);
    result["handles"] = handlesCurve(exports);
    result["alerts"] = alertsCurve(exports, library);
    result["printers"] = printersCurve(exports);
    library.enter(LogState::on);
    result["log"] = logCurve(exports, library);
    return result;
}

} // namespace

int main(int argumentCount, char **arguments) {
    return bench::runProgram(argumentCount, arguments, measureAll);
}
