/// The log as trace events in the JSON format that Perfetto and chrome://tracing open.
#pragma once

#include "tools/log/LogLineParser.h"
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

/// Turns log lines, in the order of the file, into a JSON document that is handed out piece by piece: a span for each
/// call with its arguments and result, a mark for each other line. Only the calls that are open are kept.
///
/// The log's clock has milliseconds. Lines of the same millisecond are set one microsecond apart so that their order
/// can be seen; a span's true length as the log tells it is its argument "milliseconds". Without a clock, lines are one
/// microsecond apart throughout.
class Timeline {
  public:
    using Sink = TraceDocument::Sink;

    explicit Timeline(Sink sink);

    /// A line of the file; what is no log line is passed over.
    void add(std::string_view rawLine);
    /// Writes the calls that never ended, marked as such, and the end of the document.
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
    /// Process and thread id, 0 where the header does not have them.
    using Thread = std::pair<uint32_t, uint32_t>;

    [[nodiscard]] int64_t placeOf(const LogLine &line);
    void introduce(const Thread &thread);
    void leave(const Thread &thread, const LogLine &line, int64_t time);
    void writeCall(const Thread &thread, const OpenCall &call, int64_t end, std::optional<int64_t> endMilliseconds,
                   const std::string_view *result, bool finished);
    void writeMark(const Thread &thread, const LogLine &line, int64_t time);
    void writeUnfinished();

    /// More calls than this are not open at once in any program; a log that lost its exits must not fill the memory.
    static constexpr size_t mostOpenCalls = 100'000;

    TraceDocument document_;
    std::map<Thread, std::vector<OpenCall>> open_;
    size_t openCount_ = 0;
    size_t callCount_ = 0;
    size_t unfinishedCount_ = 0;
    size_t lineCount_ = 0;
    int64_t lastTime_ = -1;
};

} // namespace tool
