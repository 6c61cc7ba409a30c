/// Converts the log to trace events in the JSON format of Perfetto and chrome://tracing.
#pragma once

#include "tools/log/LogLineParser.h"
#include "tools/text/JsonLine.h"
#include "tools/text/TraceDocument.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tool {

/// Converts log lines, in the order of the file, to a JSON document that is written in chunks. Each call is a span with
/// its arguments and result; each other line is a mark. Only open calls are kept in memory.
///
/// The log's clock has milliseconds. Lines of the same millisecond are placed one microsecond apart, so that their
/// order is visible; the argument "milliseconds" is the logged duration of a span. Without a clock, all lines are one
/// microsecond apart.
class Timeline {
  public:
    using Sink = TraceDocument::Sink;

    explicit Timeline(Sink sink);

    /// Adds a line of the file; text that is not a log line is skipped.
    void add(std::string_view rawLine);
    /// Writes the calls that have no exit line, marked as unfinished, and the end of the document.
    void finish();

    [[nodiscard]] size_t callCount() const noexcept { return callCount_; }
    [[nodiscard]] size_t unfinishedCount() const noexcept { return unfinishedCount_; }
    [[nodiscard]] size_t lineCount() const noexcept { return lineCount_; }

  private:
    struct OpenCall {
        std::string description;
        std::string component;
        int64_t begin;
        std::optional<int64_t> beginMilliseconds;
    };
    /// Process and thread id; 0 if the header does not have them.
    using Thread = std::pair<uint32_t, uint32_t>;

    [[nodiscard]] int64_t placeOf(const LogLine &line);
    void introduce(const Thread &thread);
    void leave(const Thread &thread, const LogLine &line, int64_t time);
    void writeCall(const Thread &thread, const OpenCall &call, int64_t end, std::optional<int64_t> endMilliseconds,
                   const std::string_view *result, bool finished);
    void writeMark(const Thread &thread, const LogLine &line, int64_t time);
    void writeUnfinished();

    /// Limits memory for a log without exit lines. No program has more open calls.
    static constexpr size_t mostOpenCalls = 100'000;

    TraceDocument document_;
    JsonLine event_; ///< the one that is being written
    std::map<Thread, std::vector<OpenCall>> open_;
    size_t openCount_ = 0;
    size_t callCount_ = 0;
    size_t unfinishedCount_ = 0;
    size_t lineCount_ = 0;
    int64_t lastTime_ = -1;
};

} // namespace tool
