/// Parses lines of the shared log file.
///
/// A line is [clock ][pid=hex ][tid=hex ]component, padded to fifteen columns, a space, one space per open call of the
/// thread, and the text. A setting selects which of the three header fields are present; it may change between lines.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// The clock of a log line: local time of the machine that wrote it, in milliseconds.
struct LogClock {
    int year = 0;
    unsigned month = 0;
    unsigned day = 0;
    unsigned hour = 0;
    unsigned minute = 0;
    unsigned second = 0;
    unsigned millisecond = 0;

    /// Milliseconds since 1 January 1970 in the same, unknown, time zone.
    [[nodiscard]] int64_t milliseconds() const;
    /// "YYYY/MM/DD".
    [[nodiscard]] std::string date() const;
    /// "HH:MM:SS.mmm".
    [[nodiscard]] std::string time() const;

    friend auto operator<=>(const LogClock &, const LogClock &) = default;
};

/// A log line. The views refer to the text that was parsed.
struct LogLine {
    std::optional<LogClock> clock;
    std::optional<uint32_t> processId;
    std::optional<uint32_t> threadId;
    std::string_view component;
    size_t depth = 0;
    std::string_view text;
};

/// The parsed line; nothing if the text is not a log line, for example the rest of a message with a line break.
std::optional<LogLine> parseLogLine(std::string_view line);

enum class CallEvent { entry, exit, message };

/// The kind of a line's text: "+" enters a call, "-" leaves it, anything else is a message.
CallEvent callEvent(std::string_view text);

/// A call's text without its sign, and the result after " rc=" if the line is an exit with a result.
struct CallText {
    std::string_view description;
    std::optional<std::string_view> result;
};

/// Splits an exit into its description and result; nothing if it does not belong to the entry with this description.
/// The entry is needed because an argument may contain " rc=".
std::optional<CallText> matchExit(std::string_view exitText, std::string_view entryDescription);

/// Splits an exit without knowing its entry, at the last " rc=".
CallText splitExit(std::string_view exitText);

/// The export's name: the part before "()", or the complete description.
std::string_view callName(std::string_view description);

/// The views live as long as the description.
struct CallArgument {
    std::string_view name;
    std::string_view value;
};

/// The labelled arguments after the name: "KalWrite() handle=5 byteCount=7" has handle and byteCount.
std::vector<CallArgument> callArguments(std::string_view description);

/// Whether a result in an exit line is a failure.
bool isFailureResult(std::string_view result);

/// Whether a line reports a failure: an exit with such a result, or a message that contains one of certain phrases.
bool isFailure(const LogLine &line);

} // namespace tool
