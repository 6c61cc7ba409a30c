#pragma once

#include "simulator/Lock.h"
#include "simulator/events/EventLine.h"

#include <filesystem>
#include <vector>

namespace simulator {

/// How a client hears of the jobs that other processes print: a file in the spool folder to which all append. A journal
/// that cannot be written or read is no error: then each process hears of its own jobs alone.
class EventJournal {
  public:
    explicit EventJournal(std::filesystem::path file) : file_(std::move(file)) {}

    void append(const PrinterEvent &event, uint32_t afterMs) noexcept;

    /// What is in the journal now is old news.
    void skipToEnd() noexcept;
    /// What other processes appended since.
    [[nodiscard]] std::vector<EventLine> takeNew();

  private:
    const std::filesystem::path file_;
    Lock lock_; // guards the rest
    uint64_t offset_ = 0;
    EventLineReader reader_;
};

} // namespace simulator
