#pragma once

#include "simulator/Handle.h"
#include "simulator/printers/StoredPrinter.h"

#include <filesystem>
#include <functional>

namespace simulator {

/// One small file a printer beside the spooled jobs, as a client's library is unloaded whenever the client is idle.
class PrinterStore {
  public:
    explicit PrinterStore(std::filesystem::path folder);

    /// A file that is missing or not readable counts as a printer that remembers nothing.
    [[nodiscard]] StoredPrinter read(uint16_t handle) const;
    /// @return 0, or 29 when it could not be written. Other processes wait meanwhile.
    [[nodiscard]] uint32_t update(uint16_t handle, const std::function<void(StoredPrinter &)> &change);

  private:
    [[nodiscard]] std::filesystem::path fileOf(uint16_t handle) const;

    std::filesystem::path folder_;
    Handle mutex_;
};

/// System time in milliseconds since 1601.
[[nodiscard]] uint64_t systemTimeMs() noexcept;

} // namespace simulator
