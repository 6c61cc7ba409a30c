#include "api/BidiRequest.h"

#include <algorithm>
#include <array>

namespace kal {

namespace {

constexpr uint8_t leadByte = 0xA5;
constexpr size_t frameHeadSize = 3;
constexpr size_t longestTemplate = 10;

struct BidiTemplate {
    uint8_t bytes[longestTemplate];
};

template <class... Bytes>
constexpr BidiTemplate bidiTemplate(Bytes... bytes) noexcept {
    return {{static_cast<uint8_t>(bytes)...}};
}

// One entry more than there are codes: the bounds check deliberately admits the first code after them. Its entry is not
// a frame.
constexpr auto templates = std::to_array<BidiTemplate>({
#define BIDI_TEMPLATE(code, ...) bidiTemplate(__VA_ARGS__),
#include "api/BidiTemplates.inc"
#undef BIDI_TEMPLATE
    bidiTemplate(),
});
static_assert(templates.size() == 183);

/// The stored frame of a function code; empty if there is none.
std::span<const uint8_t> findTemplate(uint16_t function) noexcept {
    if (function >= templates.size() || templates[function].bytes[0] != leadByte) {
        return {};
    }
    const uint8_t *const bytes = templates[function].bytes;
    return {bytes, static_cast<size_t>(static_cast<int8_t>(bytes[2])) + frameHeadSize};
}

} // namespace

std::optional<std::span<const uint8_t>> composeBidiRequest(uint16_t function, std::span<const uint8_t> data,
                                                           std::span<uint8_t, bidiRequestSize> room) noexcept {
    if (function == rawBidiFunction) {
        return data;
    }
    const std::span<const uint8_t> frame = findTemplate(function);
    if (frame.empty()) {
        return std::nullopt;
    }
    const size_t size = frame.size() + data.size();
    if (data.empty() || size > room.size()) {
        return frame;
    }
    std::ranges::copy(data, std::ranges::copy(frame, room.begin()).out);
    room[1] = static_cast<uint8_t>((size - frameHeadSize) >> 8);
    room[2] = static_cast<uint8_t>(size - frameHeadSize);
    return room.first(size);
}

uint32_t dropBidiResponseHead(uint8_t *response, uint32_t length) noexcept {
    if (length <= bidiResponseHeadSize) {
        return 0;
    }
    std::copy(response + bidiResponseHeadSize, response + length, response); // towards the front, so it may overlap
    return length - bidiResponseHeadSize;
}

} // namespace kal
