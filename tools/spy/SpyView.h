/// A recording of the spy as text for people and as objects for programs.
#pragma once

#include "recording/Recording.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tool {

/// The values of a call, in order: "handle=0x6001, descriptor=\"...\", buffer=[5 bytes: 49 50 76 34 00]".
std::string describeValues(const recording::Json &values);

/// Which events are shown.
struct SpyFilter {
    std::string entryPoint; ///< "": all events
    std::optional<uint32_t> thread;
    bool failures = false; ///< only calls that returned another value than 0 or ended by an exception
};

/// Events as text: the begin and end of calls and callbacks, nested by indentation.
class SpyView {
  public:
    explicit SpyView(SpyFilter filter) : filter_(std::move(filter)) {}

    /// A line with its line end; "" if the event is not shown.
    [[nodiscard]] std::string show(const recording::RecordEvent &event);

  private:
    SpyFilter filter_;
    std::map<uint32_t, std::vector<uint64_t>> open_;  ///< by thread
    std::map<uint64_t, recording::RecordEvent> held_; ///< begun; shown only if they fail
    std::map<uint64_t, std::string> callbackNames_;   ///< of open callbacks
};

/// Each call and callback as one object with its arguments, duration and result, made when it has ended.
class SpyObjects {
  public:
    explicit SpyObjects(SpyFilter filter) : filter_(std::move(filter)) {}

    /// Null if the event does not complete an object.
    [[nodiscard]] recording::Json add(const recording::RecordEvent &event);
    /// The calls and callbacks that did not end.
    [[nodiscard]] std::vector<recording::Json> finish() const;

  private:
    SpyFilter filter_;
    std::map<uint64_t, recording::RecordEvent> open_;
};

} // namespace tool
