#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kal {

inline constexpr std::string_view upperHexadecimalDigits = "0123456789ABCDEF";
inline constexpr std::string_view lowerHexadecimalDigits = "0123456789abcdef";

/// The value of a digit of either case; -1 for another character.
[[nodiscard]] constexpr int hexadecimalValue(char digit) noexcept {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    if (digit >= 'a' && digit <= 'f') {
        return digit - 'a' + 10;
    }
    return digit >= 'A' && digit <= 'F' ? digit - 'A' + 10 : -1;
}

/// Appends the two digits of a byte.
inline void appendHexadecimal(std::string &text, uint8_t byte, std::string_view digits = upperHexadecimalDigits) {
    text += digits[byte >> 4];
    text += digits[byte & 0xF];
}

} // namespace kal
