#pragma once

#include "platform/CriticalSection.h"
#include "platform/Data.h"

#include <array>
#include <cstdint>
#include <memory>

namespace kal {

/// The bytes of the latest alerts by alert id. An entry is replaced when its id is used again, and never removed.
class AlertStore {
  public:
    void put(uint16_t alertId, std::unique_ptr<Data> alert);

    enum class Answer { unknownId, tooSmall, copied };

    /// Copies an alert, which stays stored.
    /// @param[out] buffer    receives the bytes; unchanged if it is too small
    /// @param size           size of the buffer in bytes
    /// @param[out] stored    receives the alert's length; unchanged if the id is unknown
    [[nodiscard]] Answer copy(uint16_t alertId, void *buffer, uint16_t size, uint32_t &stored);

  private:
    /// The alerts whose ids have the same upper byte; made with the first of them. An alert is found in two steps. With
    /// all 65,536 ids in use, a tree would need sixteen steps, each to memory that is not cached.
    using Page = std::array<std::unique_ptr<Data>, 256>;

    CriticalSection section_; ///< guards pages_
    std::array<std::unique_ptr<Page>, 256> pages_;
};

} // namespace kal
