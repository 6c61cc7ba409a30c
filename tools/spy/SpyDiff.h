/// Compares two recordings of the spy call by call.
#pragma once

#include "recording/Recording.h"

#include <cstddef>
#include <string>
#include <vector>

namespace tool {

/// A call in the form in which calls are compared: without times, threads and addresses. Client identifiers, which
/// differ in every run, are numbered in order of appearance.
struct ComparedItem {
    std::string name;        ///< entry point or callback
    recording::Json content; ///< arguments, result, outputs, and the callbacks made during the call
    size_t number;           ///< of the call in its recording
};

/// A difference between two recordings; null if one of them has nothing at this place.
struct SpyDifference {
    const ComparedItem *left;
    const ComparedItem *right;
};

class SpyDiff {
  public:
    SpyDiff(const recording::Recording &left, const recording::Recording &right);
    SpyDiff(const SpyDiff &) = delete;
    SpyDiff &operator=(const SpyDiff &) = delete;

    [[nodiscard]] const std::vector<SpyDifference> &differences() const noexcept { return differences_; }
    [[nodiscard]] bool isEqual() const noexcept { return differences_.empty(); }
    [[nodiscard]] size_t leftCount() const noexcept { return left_.size(); }

    /// One line per side, with "-" and "+", or a single line with the changed values.
    [[nodiscard]] static std::string describe(const SpyDifference &difference);
    [[nodiscard]] static recording::Json object(const SpyDifference &difference);

  private:
    std::vector<ComparedItem> left_;
    std::vector<ComparedItem> right_;
    std::vector<SpyDifference> differences_;
};

} // namespace tool
