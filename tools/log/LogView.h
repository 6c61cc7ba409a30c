/// The log as `kal log show` prints it: which lines are wanted, and how one of them looks.
#pragma once

#include "tools/log/LogLineParser.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tool {

/// Which lines are shown; what is not set lets every line pass.
struct LogFilter {
    std::optional<uint32_t> processId{};
    std::optional<uint32_t> threadId{};
    std::string component{}; ///< compared without regard to ASCII case
    std::string text{};      ///< must stand somewhere in the line's text, as it is

    /// A line without the process or thread id that is asked for does not pass.
    [[nodiscard]] bool accepts(const LogLine &line) const;
};

/// Prints lines one after the other; remembers only which day and which line came last.
class LogView {
  public:
    LogView(LogFilter filter, bool coloured) : filter_(std::move(filter)), coloured_(coloured) {}

    /// What is printed for a line of the file, line ends included; "" for one that is not shown. A line that is none
    /// goes with the line before it: it is the rest of a message with a line break in it.
    [[nodiscard]] std::string show(std::string_view rawLine);

  private:
    [[nodiscard]] std::string compose(const LogLine &line);

    LogFilter filter_;
    bool coloured_;
    bool previousShown_ = false;
    std::string date_;
};

/// The same as one JSON object on one line; "" for a line that is not shown or none.
std::string logLineJson(std::string_view rawLine, const LogFilter &filter);

} // namespace tool
