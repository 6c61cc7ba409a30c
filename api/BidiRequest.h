#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace kal {

/// The function code that sends only the caller's bytes, unchanged.
inline constexpr uint16_t rawBidiFunction = 170;

/// Maximum size of a composed request.
inline constexpr size_t bidiRequestSize = 512;

/// Size of the header of a response to a stored request.
inline constexpr uint32_t bidiResponseHeadSize = 5;

/// The request for a function code. For the raw code, the caller's data; otherwise the stored frame followed by the
/// data. If both together are too long, only the frame (deliberately without a message).
/// @param room  buffer for a composed request; the result may also refer to the stored frame or to the caller's data
/// @return the request, valid as long as room and data; nothing if the function code has no request
[[nodiscard]] std::optional<std::span<const uint8_t>>
composeBidiRequest(uint16_t function, std::span<const uint8_t> data, std::span<uint8_t, bidiRequestSize> room) noexcept;

/// Removes the response's header in place.
/// @return length of the remaining response; 0 if there are no bytes after the header
[[nodiscard]] uint32_t dropBidiResponseHead(uint8_t *response, uint32_t length) noexcept;

} // namespace kal
