#pragma once

#include "simulator/Handle.h"
#include "simulator/printers/StoredPrinter.h"

#include <filesystem>
#include <functional>

namespace simulator {

/// One small file per printer in the spool folder, because clients unload the library whenever they are idle.
class PrinterStore {
  public:
    explicit PrinterStore(std::filesystem::path folder);

    /// Returns an empty printer if the file is missing or unreadable.
    [[nodiscard]] StoredPrinter read(uint16_t handle) const;
    /// Other processes wait until it is done. @return 0, or 29 if the file could not be written.
    [[nodiscard]] uint32_t update(uint16_t handle, const std::function<void(StoredPrinter &)> &change);

  private:
    [[nodiscard]] std::filesystem::path fileOf(uint16_t handle) const;

    std::filesystem::path folder_;
    Handle mutex_;
};

/// System time in milliseconds since 1601.
[[nodiscard]] uint64_t systemTimeMs() noexcept;

} // namespace simulator
