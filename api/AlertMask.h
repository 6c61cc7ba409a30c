#pragma once

#include <cstdint>

namespace kal {

/// Converts a client's alert mask to the service's.
[[nodiscard]] uint32_t mapAlertMask(uint32_t clientMask) noexcept;

} // namespace kal
