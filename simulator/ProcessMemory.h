#pragma once

#include "simulator/Lock.h"

#include <cstdint>
#include <string_view>

namespace simulator {

/// What must be counted over the life of the process although the library comes and goes with every idle moment of the
/// client: how often each entry point was called. A section of memory under a name of the process outlives the library.
class ProcessMemory {
  public:
    /// Counting begins again when the identity (configuration and spool) is another one than at the last load.
    explicit ProcessMemory(uint64_t identity);
    ~ProcessMemory();
    ProcessMemory(const ProcessMemory &) = delete;
    ProcessMemory &operator=(const ProcessMemory &) = delete;

    /// @return the number of this call, from 1.
    uint32_t countCall(std::string_view entryPoint) noexcept;

    /// @return true for the first caller of this identity: a broken configuration is told once and not at each load.
    bool isFirstReport() noexcept;

  private:
    struct Content;

    Lock lock_;
    Content *content_ = nullptr;
};

} // namespace simulator
