#include "tools/text/NumberText.h"

#include "platform/Hexadecimal.h"

#include <charconv>
#include <system_error>

namespace tool {

std::optional<uint32_t> parseNumber(std::string_view text, uint32_t limit) {
    int base = 10;
    if (text.starts_with("0x") || text.starts_with("0X")) {
        base = 16;
        text.remove_prefix(2);
    }
    uint64_t number = 0;
    const char *const end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, number, base);
    if (error != std::errc{} || stopped != end || number > limit) {
        return std::nullopt;
    }
    return static_cast<uint32_t>(number);
}

std::string hexNumber(uint32_t number, unsigned width) {
    std::string digits;
    for (; number != 0; number >>= 4) {
        digits.insert(digits.begin(), kal::upperHexadecimalDigits[number & 0xF]);
    }
    if (digits.size() < width) {
        digits.insert(0, width - digits.size(), '0');
    }
    return "0x" + (digits.empty() ? "0" : digits);
}

} // namespace tool
