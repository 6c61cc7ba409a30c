#pragma once

#include <cstdint>

namespace kal {

/// Removes the header of a cache block in place. Only some printers' blocks have one.
/// @return the length without it
[[nodiscard]] uint32_t dropCacheHead(uint8_t *block, uint32_t length) noexcept;

} // namespace kal
