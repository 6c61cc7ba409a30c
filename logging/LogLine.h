#pragma once

#include "logging/MessageText.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace kal {

/// A local time, each field as the calendar names it.
struct LogTime {
    uint32_t year, month, day, hour, minute, second, milliseconds;
};

/// What stands before the text of a line.
struct LogHeader {
    std::optional<LogTime> time;
    std::optional<uint32_t> processId;
    std::optional<uint32_t> threadId;
    std::string_view component;
    uint32_t componentWidth = 0; ///< columns; a longer name is not cut
    int32_t depth = 0;           ///< open calls of the thread, a blank each; below 0 counts as 0
};

/// Adds the header as it stands in the log: 2012/03/05-14:07:09.042 pid=0a3c tid=0b04 LegacyClient and the depth
/// blanks.
void composeHeader(MessageText &line, const LogHeader &header);

} // namespace kal
