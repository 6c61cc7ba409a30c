#pragma once

#include "recording/Recording.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

namespace simulator {

/// An unsolicited callback and its due time, relative to the preceding call.
struct ReplayedCallback {
    const recording::RecordedCallback *callback = nullptr;
    const recording::RecordedCall *anchor = nullptr; // null: due from the start
    bool isAfterReturn = false;                      // the delay starts when the anchor returned, not when it began
    int64_t delay = 0;                               // in microseconds
};

/// Finds the recorded call for a client's call: the first unused one with the same entry point and arguments.
class ReplayPlan {
  public:
    explicit ReplayPlan(recording::Recording recording);
    ReplayPlan(const ReplayPlan &) = delete;
    ReplayPlan &operator=(const ReplayPlan &) = delete;

    [[nodiscard]] const recording::RecordingHeader &header() const noexcept { return recording_.header; }
    [[nodiscard]] const recording::Recording &recording() const noexcept { return recording_; }
    /// Names of the entry points that the recorded service lacked.
    [[nodiscard]] bool isMissing(const std::string &entryPoint) const;

    /// Takes the next unused call with these arguments; null if there is none.
    [[nodiscard]] const recording::RecordedCall *take(const std::string &entryPoint, const recording::Json &arguments);
    /// Whether the recording has such a call, used or not.
    [[nodiscard]] bool knows(const std::string &entryPoint, const recording::Json &arguments) const;

    /// The callbacks that the service made during the call, in order.
    [[nodiscard]] std::vector<const recording::RecordedCallback *>
    callbacksWithin(const recording::RecordedCall &call) const;
    /// The unsolicited callbacks, in order.
    [[nodiscard]] const std::vector<ReplayedCallback> &callbacksByThemselves() const noexcept { return byThemselves_; }

  private:
    const recording::Recording recording_;
    std::map<std::string, std::deque<const recording::RecordedCall *>> calls_; // by entry point and arguments
    std::multimap<uint64_t, const recording::RecordedCallback *> within_;
    std::vector<ReplayedCallback> byThemselves_;
};

} // namespace simulator
