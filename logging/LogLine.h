#pragma once

#include "logging/MessageText.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace kal {

/// A local time, with calendar values in all fields.
struct LogTime {
    uint32_t year, month, day, hour, minute, second, milliseconds;
};

/// The part of a line before its text.
struct LogHeader {
    std::optional<LogTime> time;
    std::optional<uint32_t> processId;
    std::optional<uint32_t> threadId;
    std::string_view component;
    uint32_t componentWidth = 0; ///< columns; a longer name is not truncated
    int32_t depth = 0;           ///< open calls of the thread, one space each; negative counts as 0
};

/// Appends the header, for example 2012/03/05-14:07:09.042 pid=0a3c tid=0b04 LegacyClient, and the depth's spaces.
void composeHeader(MessageText &line, const LogHeader &header);

} // namespace kal
