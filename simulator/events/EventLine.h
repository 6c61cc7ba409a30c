#pragma once

#include "simulator/events/PrinterEvent.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

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

/// Puts lines together from a text that arrives in pieces.
class EventLineReader {
  public:
    /// The lines that the piece completes; what is not an event is passed over.
    [[nodiscard]] std::vector<EventLine> take(std::string_view piece);
    /// Forgets the line that is not complete yet.
    void restart() noexcept { unfinished_.clear(); }

  private:
    std::string unfinished_;
};

} // namespace simulator
