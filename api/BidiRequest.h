#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace kal {

/// The function code under which the caller's bytes go out as they stand.
inline constexpr uint16_t rawBidiFunction = 170;

/// Room for a composed request.
inline constexpr size_t bidiRequestSize = 512;

/// Bytes before the response to a stored request that are not the caller's.
inline constexpr uint32_t bidiResponseHeadSize = 5;

/// The request for a function code: the caller's data for the raw code, else the stored frame with the data appended
/// when both fit the room; when they do not, the frame alone (deliberately without a message).
/// @param room  where a composed request is laid; the request may also be the stored frame or the caller's data itself
/// @return the request, valid as long as room and data; nothing for a function code without a request
[[nodiscard]] std::optional<std::span<const uint8_t>>
composeBidiRequest(uint16_t function, std::span<const uint8_t> data, std::span<uint8_t, bidiRequestSize> room) noexcept;

/// Drops the response head in place.
/// @return bytes of the response proper; 0 when there is nothing behind the head
[[nodiscard]] uint32_t dropBidiResponseHead(uint8_t *response, uint32_t length) noexcept;

} // namespace kal
