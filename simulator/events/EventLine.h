#pragma once

#include "simulator/events/PrinterEvent.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

/// An event in the form that processes exchange.
struct EventLine {
    uint64_t dueMs = 0; // system time in milliseconds since 1601
    uint32_t process = 0;
    PrinterEvent event;
};

/// Returns the line with its line end.
[[nodiscard]] std::string composeEventLine(const EventLine &line);

/// @return nothing if the text is not such a line.
[[nodiscard]] std::optional<EventLine> readEventLine(std::string_view text);

/// Assembles lines from text that arrives in chunks.
class EventLineReader {
  public:
    /// The lines that the chunk completes. Lines that are not events are skipped.
    [[nodiscard]] std::vector<EventLine> take(std::string_view piece);
    /// Drops the incomplete line.
    void restart() noexcept { unfinished_.clear(); }

  private:
    std::string unfinished_;
};

} // namespace simulator
