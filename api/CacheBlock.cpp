#include "api/CacheBlock.h"

#include <algorithm>

namespace kal {

uint32_t dropCacheHead(uint8_t *block, uint32_t length) noexcept {
    constexpr uint32_t headSize = 8;
    constexpr uint8_t leadByte = 0xA5;
    if (length < headSize || block[0] != leadByte) {
        return length;
    }
    std::copy(block + headSize, block + length, block); // towards the front, so it may overlap
    return length - headSize;
}

} // namespace kal
