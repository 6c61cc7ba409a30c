#pragma once

#include "simulator/Lock.h"
#include "simulator/events/EventLine.h"

#include <filesystem>
#include <vector>

namespace simulator {

/// A file in the spool folder to which all processes append events, so that each can report the jobs of the others. If
/// it cannot be written or read, each process reports its own jobs only.
class EventJournal {
  public:
    explicit EventJournal(std::filesystem::path file) : file_(std::move(file)) {}

    void append(const PrinterEvent &event, uint32_t afterMs) noexcept;

    /// Skips all lines that are already in the journal.
    void skipToEnd() noexcept;
    /// The events that other processes appended since the last call.
    [[nodiscard]] std::vector<EventLine> takeNew();

  private:
    const std::filesystem::path file_;
    Lock lock_; // guards the rest
    uint64_t offset_ = 0;
    EventLineReader reader_;
};

} // namespace simulator
