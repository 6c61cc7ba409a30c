/// A recording of the spy for people, and as objects for programs.
#pragma once

#include "recording/Recording.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tool {

/// "handle=0x6001, descriptor=\"...\", buffer=[5 bytes: 49 50 76 34 00]": the values of a call, in their order.
std::string describeValues(const recording::Json &values);

/// Which events are wanted.
struct SpyFilter {
    std::string entryPoint; ///< "": all, and everything else
    std::optional<uint32_t> thread;
    bool failures = false; ///< only calls that answered something else than 0
};

/// What an event leads to in text: calls and callbacks with their ends, nested by indentation.
class SpyView {
  public:
    explicit SpyView(SpyFilter filter) : filter_(std::move(filter)) {}

    /// A line with its end, or nothing.
    [[nodiscard]] std::string show(const recording::RecordEvent &event);

  private:
    SpyFilter filter_;
    std::map<uint32_t, std::vector<uint64_t>> open_;  ///< by thread
    std::map<uint64_t, recording::RecordEvent> held_; ///< begun, and shown only when they fail
    std::map<uint64_t, std::string> callbackNames_;   ///< of open callbacks
};

/// Calls and callbacks, each as one object with its begin, duration and answer, once it has ended.
class SpyObjects {
  public:
    explicit SpyObjects(SpyFilter filter) : filter_(std::move(filter)) {}

    /// Null when the event leads to none.
    [[nodiscard]] recording::Json add(const recording::RecordEvent &event);
    /// What never ended.
    [[nodiscard]] std::vector<recording::Json> finish() const;

  private:
    SpyFilter filter_;
    std::map<uint64_t, recording::RecordEvent> open_;
};

} // namespace tool
