// A cache block as the service hands it over, with the length that it says it has, in a caller's buffer.
#include "api/CacheBlock.h"
#include "tests/fuzz/Input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    constexpr size_t headSize = 8;
    fuzz::Input input(bytes, size);
    const uint32_t told = input.number<uint16_t>();
    std::vector<uint8_t> buffer = input.remainingBytes();
    const std::vector<uint8_t> before = buffer;
    const uint32_t came = std::min(told, static_cast<uint32_t>(buffer.size()));
    const uint32_t stays = kal::dropCacheHead(buffer.data(), came);

    const bool hasHead = came >= headSize && before[0] == 0xA5;
    fuzz::require(came - stays == (hasHead ? headSize : 0), "what stays and the head are what came");
    const auto end = before.begin() + came;
    fuzz::require(std::equal(end - stays, end, buffer.begin()), "what stays is the tail of what came");
    fuzz::require(std::equal(end, before.end(), buffer.begin() + came), "what lies behind the block is nobody's");
    return 0;
}
