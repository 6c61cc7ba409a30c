#pragma once

#include <cstdint>
#include <functional>
#include <vector>

namespace bench {

/// Processor ticks: the system's clock of 100 ns is too coarse for a call of a few microseconds.
[[nodiscard]] uint64_t ticks() noexcept;
[[nodiscard]] double microsecondsOf(uint64_t ticks) noexcept;

/// The value below which a part of the values lies; 0.5 gives the median.
[[nodiscard]] double quantile(std::vector<double> values, double part);

/// Microseconds of one call.
[[nodiscard]] double timeOf(const std::function<void()> &call);

/// A subject against its floor. What counts is the ratio.
struct Comparison {
    double subject; ///< microseconds a call, median
    double floor;
    double ratio; ///< median of the blocks' ratios
    double low;   ///< quartiles of the blocks' ratios
    double high;
    int calls; ///< of each
};

/// Times the two call about call, so that a machine whose speed drifts or that others use does not matter. A block's
/// ratio is that of its medians.
/// @param betweenBlocks      not timed
/// @param blockMicroseconds  about how long a block takes
[[nodiscard]] Comparison compare(const std::function<void()> &subject, const std::function<void()> &floor,
                                 const std::function<void()> &betweenBlocks, double blockMicroseconds);

} // namespace bench
