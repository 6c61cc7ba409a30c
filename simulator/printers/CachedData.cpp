#include "simulator/printers/CachedData.h"

namespace simulator {

Bytes composeCache(const PrinterConfiguration &printer) {
    if (!printer.hasCacheHead) {
        return printer.cache;
    }
    const auto length = printer.cache.size();
    Bytes block{0xA5, static_cast<uint8_t>(length >> 8), static_cast<uint8_t>(length), 0, 0, 0, 0, 0};
    block.insert(block.end(), printer.cache.begin(), printer.cache.end());
    return block;
}

} // namespace simulator
