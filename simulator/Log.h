#pragma once

#include "simulator/Lock.h"

#include <filesystem>
#include <string_view>

namespace simulator {

/// Tells in simulator.log what the simulator received and did, one line each. A log that cannot be written is no error.
class Log {
  public:
    explicit Log(std::filesystem::path file) : file_(std::move(file)) {}

    void write(std::string_view line) noexcept;

    [[nodiscard]] const std::filesystem::path &file() const noexcept { return file_; }

  private:
    std::filesystem::path file_;
};

/// For what the author of a configuration must see even when no file can be written: debugger and error output.
void reportLoudly(std::string_view line) noexcept;

} // namespace simulator
