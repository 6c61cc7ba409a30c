#pragma once

#include "simulator/events/PrinterEvent.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace simulator {

/// An event as processes tell it to each other.
struct EventLine {
    uint64_t dueMs = 0; // system time in milliseconds since 1601
    uint32_t process = 0;
    PrinterEvent event;
};

/// One line of text, its end included.
[[nodiscard]] std::string composeEventLine(const EventLine &line);

/// @return none for a text that is no such line.
[[nodiscard]] std::optional<EventLine> readEventLine(std::string_view text);

} // namespace simulator
