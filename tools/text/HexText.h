/// Converts between bytes and hexadecimal text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// Bytes of two digits each. Spaces, commas, colons and dashes may separate bytes but not digits of a byte.
std::optional<std::vector<uint8_t>> parseHexBytes(std::string_view text);

/// Two upper-case digits per byte, with a space between bytes.
std::string hexBytes(std::span<const uint8_t> bytes);

/// Sixteen bytes per line: offset, bytes, and their characters. Each line ends with a line feed.
std::string hexDump(std::span<const uint8_t> bytes);

} // namespace tool
