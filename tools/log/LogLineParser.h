/// One line of the shared log file taken apart again.
///
/// A line is [clock ][pid=hex ][tid=hex ]component, padded to fifteen columns, one blank, as many blanks as calls are
/// open on the thread, and the text. Which of the three header fields stand there is a setting, and may change from one
/// line to the next.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// The clock of a log line: local time of the machine that wrote it, to the millisecond.
struct LogClock {
    int year = 0;
    unsigned month = 0;
    unsigned day = 0;
    unsigned hour = 0;
    unsigned minute = 0;
    unsigned second = 0;
    unsigned millisecond = 0;

    /// Milliseconds since the first of January 1970 of the same, unknown, time zone.
    [[nodiscard]] int64_t milliseconds() const;
    /// "YYYY/MM/DD".
    [[nodiscard]] std::string date() const;
    /// "HH:MM:SS.mmm".
    [[nodiscard]] std::string time() const;

    friend auto operator<=>(const LogClock &, const LogClock &) = default;
};

/// A log line; the views live as long as the text that was parsed.
struct LogLine {
    std::optional<LogClock> clock;
    std::optional<uint32_t> processId;
    std::optional<uint32_t> threadId;
    std::string_view component;
    size_t depth = 0;
    std::string_view text;
};

/// The line, or nothing when the text does not have the shape of one (the rest of a message with a line break in it).
std::optional<LogLine> parseLogLine(std::string_view line);

enum class CallEvent { entry, exit, message };

/// What kind of line a text makes: "+" enters a call, "-" leaves it, everything else was said in between.
CallEvent callEvent(std::string_view text);

/// A call's text without its sign, and the result behind " rc=" when it is an exit that has one.
struct CallText {
    std::string_view description;
    std::optional<std::string_view> result;
};

/// Takes an exit apart, given the description with which the call was entered; nothing when the exit is not that
/// call's. The entry is needed because " rc=" may also stand in an argument.
std::optional<CallText> matchExit(std::string_view exitText, std::string_view entryDescription);

/// Takes an exit apart without its entry, at the last " rc=".
CallText splitExit(std::string_view exitText);

/// The export's name: what stands before "()", or the whole description.
std::string_view callName(std::string_view description);

struct CallArgument {
    std::string name;
    std::string value;
};

/// The labelled arguments behind the name: "KalWrite() handle=5 byteCount=7" has handle and byteCount.
std::vector<CallArgument> callArguments(std::string_view description);

/// Whether a call's result, as its exit line gives it, tells of a failure.
bool isFailureResult(std::string_view result);

/// Whether a line tells of a failure: an exit with such a result, or a message that says so.
bool isFailure(const LogLine &line);

} // namespace tool
