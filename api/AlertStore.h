#pragma once

#include "platform/CriticalSection.h"
#include "platform/Data.h"

#include <array>
#include <cstdint>
#include <memory>

namespace kal {

/// The bytes of the latest alerts by alert id. Entries are never removed, only replaced when an id comes round again.
class AlertStore {
  public:
    void put(uint16_t alertId, std::unique_ptr<Data> alert);

    enum class Answer { unknownId, tooSmall, copied };

    /// Copies an alert out; it stays stored.
    /// @param[out] buffer    receives the bytes; not touched unless they fit
    /// @param size           bytes of the buffer
    /// @param[out] stored    receives the alert's length unless its id is unknown
    [[nodiscard]] Answer copy(uint16_t alertId, void *buffer, uint16_t size, uint32_t &stored);

  private:
    /// The alerts whose ids share their upper byte; made with the first of them. With all 65,536 ids in use an alert is
    /// two steps away, where a tree would take sixteen, each to memory that no cache holds.
    using Page = std::array<std::unique_ptr<Data>, 256>;

    CriticalSection section_; ///< guards pages_
    std::array<std::unique_ptr<Page>, 256> pages_;
};

} // namespace kal
