#pragma once

#include "simulator/Lock.h"

#include <cstdint>
#include <string_view>

namespace simulator {

/// Counts the calls of each entry point over the life of the process. The counts are in a named section of memory,
/// because clients unload and reload the library whenever they are idle.
class ProcessMemory {
  public:
    /// Counting restarts if the identity (configuration and spool) differs from that of the last load.
    explicit ProcessMemory(uint64_t identity);
    ~ProcessMemory();
    ProcessMemory(const ProcessMemory &) = delete;
    ProcessMemory &operator=(const ProcessMemory &) = delete;

    /// @return the number of this call, from 1.
    uint32_t countCall(std::string_view entryPoint) noexcept;

    /// Whether this is the first call for this identity. A broken configuration is reported once, not at each load.
    bool isFirstReport() noexcept;

  private:
    struct Content;

    Lock lock_;
    Content *content_ = nullptr;
};

} // namespace simulator
