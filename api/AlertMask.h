#pragma once

#include <cstdint>

namespace kal {

/// The service's alert mask for a client's.
[[nodiscard]] uint32_t mapAlertMask(uint32_t clientMask) noexcept;

} // namespace kal
