/// Two recordings of the spy compared call by call.
#pragma once

#include "recording/Recording.h"

#include <cstddef>
#include <string>
#include <vector>

namespace tool {

/// A call, or what it is compared by: the recording without times, threads and addresses. Client identifiers, which the
/// service makes up anew each time, are numbered by their first appearance.
struct ComparedItem {
    std::string name;        ///< entry point or callback
    recording::Json content; ///< arguments, result, outputs, and the callbacks made within the call
    size_t number;           ///< the call's in its recording
};

/// What one recording has in another way: a side that is null has nothing in this place.
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

    /// A line for each side, "-" and "+" in front, or one with the values that changed.
    [[nodiscard]] static std::string describe(const SpyDifference &difference);
    [[nodiscard]] static recording::Json object(const SpyDifference &difference);

  private:
    std::vector<ComparedItem> left_;
    std::vector<ComparedItem> right_;
    std::vector<SpyDifference> differences_;
};

} // namespace tool
