#pragma once

#include "platform/CriticalSection.h"
#include "platform/Data.h"

#include <cstdint>
#include <map>
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
    CriticalSection section_; ///< guards alerts_
    std::map<uint16_t, std::unique_ptr<Data>> alerts_;
};

} // namespace kal
