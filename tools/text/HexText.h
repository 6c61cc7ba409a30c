/// Bytes as hexadecimal text, both ways.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// Bytes of two digits each; blanks, commas, colons and dashes may stand between bytes, not inside one.
std::optional<std::vector<uint8_t>> parseHexBytes(std::string_view text);

/// Two upper-case digits a byte, one blank between bytes.
std::string hexBytes(std::span<const uint8_t> bytes);

/// Sixteen bytes a line: offset, bytes, and the characters they are; each line ends with a line feed.
std::string hexDump(std::span<const uint8_t> bytes);

} // namespace tool
