#include "bench/Timing.h"

#include <algorithm>
#include <chrono>

#if defined(_MSC_VER)
#include <intrin.h>
#else
#include <x86intrin.h>
#endif

namespace bench {

namespace {

constexpr int blockCount = 21;

double ticksInAMicrosecond() {
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    const uint64_t first = ticks();
    while (Clock::now() - start < std::chrono::milliseconds(50)) {
    }
    const uint64_t last = ticks();
    return static_cast<double>(last - first) / std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

} // namespace

uint64_t ticks() noexcept {
    return __rdtsc();
}

double microsecondsOf(uint64_t ticks) noexcept {
    static const double rate = ticksInAMicrosecond();
    return static_cast<double>(ticks) / rate;
}

double quantile(std::vector<double> values, double part) {
    const auto position = values.begin() + static_cast<ptrdiff_t>(part * static_cast<double>(values.size() - 1));
    std::ranges::nth_element(values, position);
    return *position;
}

double timeOf(const std::function<void()> &call) {
    const uint64_t start = ticks();
    call();
    return microsecondsOf(ticks() - start);
}

Comparison compare(const std::function<void()> &subject, const std::function<void()> &floor,
                   const std::function<void()> &betweenBlocks, double blockMicroseconds) {
    betweenBlocks();
    subject();
    floor();
    const double once = std::min(timeOf(subject), timeOf(subject)) + std::min(timeOf(floor), timeOf(floor));
    const int pairs = std::clamp(static_cast<int>(blockMicroseconds / once), 3, 2001);
    std::vector<double> allSubjects;
    std::vector<double> allFloors;
    std::vector<double> ratios;
    for (int block = 0; block < blockCount; ++block) {
        betweenBlocks();
        std::vector<double> subjects;
        std::vector<double> floors;
        for (int pair = 0; pair < pairs; ++pair) {
            // Who comes first alternates: the second finds warmer caches.
            if (pair % 2 == 0) {
                subjects.push_back(timeOf(subject));
                floors.push_back(timeOf(floor));
            } else {
                floors.push_back(timeOf(floor));
                subjects.push_back(timeOf(subject));
            }
        }
        ratios.push_back(quantile(subjects, 0.5) / quantile(floors, 0.5));
        allSubjects.insert(allSubjects.end(), subjects.begin(), subjects.end());
        allFloors.insert(allFloors.end(), floors.begin(), floors.end());
    }
    return {quantile(allSubjects, 0.5), quantile(allFloors, 0.5), quantile(ratios, 0.5),
            quantile(ratios, 0.25),     quantile(ratios, 0.75),   blockCount * pairs};
}

} // namespace bench
