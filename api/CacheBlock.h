#pragma once

#include <cstdint>

namespace kal {

/// Drops the head of a cache block in place, when it has one: some printers' blocks begin with it, some do not.
/// @return the block's length without it
[[nodiscard]] uint32_t dropCacheHead(uint8_t *block, uint32_t length) noexcept;

} // namespace kal
