/// Numbers as users type them: decimal, or hexadecimal after 0x.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tool {

/// The number; nothing if the string is not a number or exceeds the limit. No sign, no octal.
std::optional<uint32_t> parseNumber(std::string_view text, uint32_t limit);

/// "0x" and the number in upper-case hexadecimal, zero-filled to the width.
std::string hexNumber(uint32_t number, unsigned width);

} // namespace tool
