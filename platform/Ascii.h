#pragma once

// Letters without regard to a locale: names of transports, servers and components are ASCII.

#include <algorithm>
#include <string_view>

namespace kal {

[[nodiscard]] constexpr char lowerCase(char character) noexcept {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

[[nodiscard]] constexpr bool equalIgnoringCase(std::string_view left, std::string_view right) noexcept {
    return std::ranges::equal(left, right, {}, lowerCase, lowerCase);
}

} // namespace kal
