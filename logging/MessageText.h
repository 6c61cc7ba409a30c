#pragma once

#include <concepts>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace kal {

/// Bytes to be written as two upper-case hexadecimal digits each, separated by spaces.
struct HexBytes {
    std::span<const uint8_t> bytes;
};

/// A number to be zero-filled to a width.
struct PaddedNumber {
    uint32_t number;
    uint32_t width;
    uint32_t base = 10; ///< 10, or 16 in lower case
};

/// Composes a string from pieces, like a string stream without a locale. Uses the heap only for long strings.
class MessageText {
  public:
    // cppcheck-suppress uninitMemberVar // the room is written before it is read
    MessageText() noexcept = default;
    MessageText(const MessageText &) = delete;
    MessageText &operator=(const MessageText &) = delete;

    MessageText &operator<<(std::string_view text);
    MessageText &operator<<(const char *text); ///< null writes nothing
    MessageText &operator<<(char character) { return *this << std::string_view(&character, 1); }
    MessageText &operator<<(std::unsigned_integral auto number) { return writeUnsigned(number); }
    MessageText &operator<<(std::signed_integral auto number) { return writeSigned(number); }
    /// "0x" and 16 upper-case digits; nothing for a null pointer.
    MessageText &operator<<(const void *pointer);
    MessageText &operator<<(HexBytes hex);
    MessageText &operator<<(PaddedNumber padded);
    void fill(char character, size_t count);

    [[nodiscard]] std::string_view view() const noexcept {
        return overflow_.empty() ? std::string_view(room_, size_) : std::string_view(overflow_);
    }
    /// Null-terminated.
    [[nodiscard]] const char *c_str() noexcept;
    [[nodiscard]] std::string str() const;

  private:
    MessageText &writeUnsigned(uint64_t number);
    MessageText &writeSigned(int64_t number);

    static constexpr size_t roomSize = 512;
    char room_[roomSize];
    size_t size_ = 0;      ///< bytes used of the room
    std::string overflow_; ///< the complete string, once it is longer than the fixed buffer
};

} // namespace kal
