// Throughput of writes on separate handles, each with a thread of its own, and that of the floor at the same number of
// threads. Written as a JSON array of points.

#include "bench/Exports.h"
#include "bench/FloorWork.h"
#include "bench/Program.h"
#include "bench/Timing.h"

#include <atomic>
#include <cstdio>
#include <thread>
#include <vector>

namespace {

using bench::BenchLibrary;
using bench::Exports;
using bench::FloorWork;
using bench::LogState;

constexpr char document[4096] = {};

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

nlohmann::json measureAll() {
    constexpr int rounds = 41;
    BenchLibrary library;
    const Exports exports(library);
    library.enter(LogState::off);
    bench::keepServiceLoaded(library);
    for (uint32_t handle = 0; handle < 64; ++handle) {
        exports.openQuickly(handle);
    }
    FloorWork floor(library, LogState::off);
    auto points = nlohmann::json::array();
    for (const unsigned threadCount : {1u, 2u, 4u, 16u, 64u}) {
        std::vector<double> subjects;
        std::vector<double> floors;
        std::vector<double> ratios;
        for (int round = 0; round < rounds; ++round) {
            const auto subject = [&] {
                subjects.push_back(throughput(threadCount, [&](unsigned number) { exports.writeTo(number); }));
            };
            const auto theFloor = [&] {
                floors.push_back(throughput(threadCount, [&](unsigned number) {
                    floor.write(static_cast<uint16_t>(number), document, sizeof document);
                }));
            };
            if (round % 2 == 0) {
                subject();
                theFloor();
            } else {
                theFloor();
                subject();
            }
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

} // namespace

int main(int argumentCount, char **arguments) {
    return bench::runProgram(argumentCount, arguments, measureAll);
}
