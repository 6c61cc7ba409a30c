#pragma once

#include "recording/Recording.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

namespace simulator {

/// A callback that came by itself: when it is due, told by the call before it.
struct ReplayedCallback {
    const recording::RecordedCallback *callback = nullptr;
    const recording::RecordedCall *anchor = nullptr; // null: due from the beginning
    bool isAfterReturn = false;                      // of the anchor; else after its beginning
    int64_t delay = 0;                               // microseconds after that
};

/// Which recorded call answers which call of a client: entry point and arguments must be equal, in recorded order.
class ReplayPlan {
  public:
    explicit ReplayPlan(recording::Recording recording);
    ReplayPlan(const ReplayPlan &) = delete;
    ReplayPlan &operator=(const ReplayPlan &) = delete;

    [[nodiscard]] const recording::RecordingHeader &header() const noexcept { return recording_.header; }
    [[nodiscard]] const recording::Recording &recording() const noexcept { return recording_; }
    /// Names of the entry points that the recorded service lacked.
    [[nodiscard]] bool isMissing(const std::string &entryPoint) const;

    /// The next call of this kind that was not taken yet; null when there is none.
    [[nodiscard]] const recording::RecordedCall *take(const std::string &entryPoint, const recording::Json &arguments);
    /// Whether there ever was one.
    [[nodiscard]] bool knows(const std::string &entryPoint, const recording::Json &arguments) const;

    /// What the service called within the call, in order.
    [[nodiscard]] std::vector<const recording::RecordedCallback *>
    callbacksWithin(const recording::RecordedCall &call) const;
    /// What it called by itself, in order.
    [[nodiscard]] const std::vector<ReplayedCallback> &callbacksByThemselves() const noexcept { return byThemselves_; }

  private:
    const recording::Recording recording_;
    std::map<std::string, std::deque<const recording::RecordedCall *>> calls_; // by entry point and arguments
    std::multimap<uint64_t, const recording::RecordedCallback *> within_;
    std::vector<ReplayedCallback> byThemselves_;
};

} // namespace simulator
