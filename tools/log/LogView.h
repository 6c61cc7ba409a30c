/// The output of `kal log show`: which lines are shown, and in which form.
#pragma once

#include "tools/log/LogLineParser.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tool {

/// Which lines are shown; members without a value accept every line.
struct LogFilter {
    std::optional<uint32_t> processId{};
    std::optional<uint32_t> threadId{};
    std::string component{}; ///< compared without regard to ASCII case
    std::string text{};      ///< must be part of the line's text; case matters

    /// A line without a process or thread id is not accepted if one is requested.
    [[nodiscard]] bool accepts(const LogLine &line) const;
};

/// Formats lines in order. Keeps only the last date, and whether the last line was shown.
class LogView {
  public:
    LogView(LogFilter filter, bool coloured) : filter_(std::move(filter)), coloured_(coloured) {}

    /// The output for a line of the file, with line ends; "" if it is not shown. Text that is not a log line is the
    /// rest of a message with a line break: it is shown if the line before it was.
    [[nodiscard]] std::string show(std::string_view rawLine);

  private:
    [[nodiscard]] std::string compose(const LogLine &line);

    LogFilter filter_;
    bool coloured_;
    bool previousShown_ = false;
    std::string date_;
};

/// The line as one JSON object on one line; "" if it is not shown or is not a log line.
std::string logLineJson(std::string_view rawLine, const LogFilter &filter);

} // namespace tool
