#include "logging/MessageText.h"

#include "platform/Hexadecimal.h"

#include <charconv>
#include <cstring>

namespace kal {

MessageText &MessageText::operator<<(std::string_view text) {
    if (overflow_.empty() && text.size() < roomSize - size_) { // keeps one byte for the terminator
        // Not memcpy, which does not allow the null address of an empty string_view.
        text.copy(room_ + size_, text.size());
        size_ += text.size();
        return *this;
    }
    if (overflow_.empty()) {
        overflow_.reserve(2 * (size_ + text.size()));
        overflow_.assign(room_, size_);
    }
    overflow_.append(text);
    return *this;
}

MessageText &MessageText::operator<<(const char *text) {
    return text == nullptr ? *this : *this << std::string_view(text);
}

MessageText &MessageText::operator<<(const void *pointer) {
    if (pointer == nullptr) {
        return *this;
    }
    char text[2 + 2 * sizeof pointer] = {'0', 'x'};
    auto rest = reinterpret_cast<uintptr_t>(pointer);
    for (size_t position = sizeof text; position > 2; rest >>= 4) {
        text[--position] = upperHexadecimalDigits[rest & 0xF];
    }
    return *this << std::string_view(text, sizeof text);
}

MessageText &MessageText::operator<<(HexBytes hex) {
    const char *separator = "";
    for (const uint8_t byte : hex.bytes) {
        *this << separator << upperHexadecimalDigits[byte >> 4] << upperHexadecimalDigits[byte & 0xF];
        separator = " ";
    }
    return *this;
}

MessageText &MessageText::operator<<(PaddedNumber padded) {
    char digits[32];
    const auto result = std::to_chars(digits, digits + sizeof digits, padded.number, static_cast<int>(padded.base));
    const auto count = static_cast<size_t>(result.ptr - digits);
    if (count < padded.width) {
        fill('0', padded.width - count);
    }
    return *this << std::string_view(digits, count);
}

void MessageText::fill(char character, size_t count) {
    if (overflow_.empty() && count < roomSize - size_) {
        std::memset(room_ + size_, character, count);
        size_ += count;
        return;
    }
    *this << std::string(count, character);
}

MessageText &MessageText::writeUnsigned(uint64_t number) {
    char digits[20];
    const auto result = std::to_chars(digits, digits + sizeof digits, number);
    return *this << std::string_view(digits, static_cast<size_t>(result.ptr - digits));
}

MessageText &MessageText::writeSigned(int64_t number) {
    char digits[20];
    const auto result = std::to_chars(digits, digits + sizeof digits, number);
    return *this << std::string_view(digits, static_cast<size_t>(result.ptr - digits));
}

std::string MessageText::str() const {
    return std::string(view());
}

const char *MessageText::c_str() noexcept {
    if (!overflow_.empty()) {
        return overflow_.c_str();
    }
    room_[size_] = '\0';
    return room_;
}

} // namespace kal
