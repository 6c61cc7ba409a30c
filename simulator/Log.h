#pragma once

#include "simulator/Lock.h"

#include <filesystem>
#include <string_view>

namespace simulator {

/// Writes what the simulator received and did to simulator.log, one line each. Failures to write are ignored.
class Log {
  public:
    explicit Log(std::filesystem::path file) : file_(std::move(file)) {}

    void write(std::string_view line) noexcept;

    [[nodiscard]] const std::filesystem::path &file() const noexcept { return file_; }

  private:
    std::filesystem::path file_;
};

/// Reports to the debugger and to standard error, so that users see the message even if no file can be written.
void reportLoudly(std::string_view line) noexcept;

} // namespace simulator
