#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kal {

/// A growable byte buffer with a read cursor. A position outside the storage is a programming error and aborts the
/// process. The order of the virtual operations is part of the binary interface.
class Data {
  public:
    Data() = default;
    Data(const Data &) = default;
    Data &operator=(const Data &) = default;
    virtual ~Data() = default;

    /// Number of unread bytes.
    [[nodiscard]] virtual uint32_t remaining() const;
    /// The first unread byte; null when the buffer is empty.
    [[nodiscard]] virtual const uint8_t *current() const;
    /// Marks count bytes as read, or none if fewer are unread. With compact, removes all bytes that were read.
    virtual void skip(uint32_t count, bool compact);
    virtual void setFirstAttribute(uint32_t value) { firstAttribute_ = value; }
    virtual void setSecondAttribute(uint32_t value) { secondAttribute_ = value; }
    [[nodiscard]] virtual uint32_t getSecondAttribute() const { return secondAttribute_; }
    [[nodiscard]] virtual uint32_t getFirstAttribute() const { return firstAttribute_; }
    /// Appends bytes without changing what was read. @return the new end, as an offset
    virtual size_t append(const uint8_t *bytes, uint32_t count);
    /// Appends the unread bytes of another buffer, which is not changed. @return the new end, as an offset
    virtual size_t append(const Data &other);
    /// Drops all bytes and resets.
    virtual void clear();
    /// Marks all but the last count unread bytes as read, and overwrites those with the caller's (deliberately into the
    /// buffer, not out of it). @return false, with nothing changed, if fewer are unread
    virtual bool overwriteTail(const uint8_t *bytes, uint32_t count);

    /// Makes every byte unread again and sets both attributes to 0.
    void reset();

  private:
    void check() const;

    std::vector<uint8_t> storage_;
    size_t readPosition_ = 0;
    size_t startPosition_ = 0;
    size_t endMark_ = 0;
    uint32_t firstAttribute_ = 0;
    uint32_t secondAttribute_ = 0;
};

} // namespace kal
