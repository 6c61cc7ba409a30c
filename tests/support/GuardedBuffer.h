// A buffer directly before an inaccessible page, so that an overrun faults immediately.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>

#include <windows.h>

namespace kal::test {

class GuardedBuffer {
  public:
    explicit GuardedBuffer(size_t size, uint8_t filling = 0xCD) : size_(size) {
        constexpr size_t page = 4096;
        const size_t usable = (size + page - 1) / page * page;
        start_ = static_cast<uint8_t *>(VirtualAlloc(nullptr, usable + page, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
        DWORD previous = 0;
        if (start_ == nullptr || !VirtualProtect(start_ + usable, page, PAGE_NOACCESS, &previous))
            throw std::bad_alloc();
        data_ = start_ + usable - size;
        std::memset(data_, filling, size);
    }
    explicit GuardedBuffer(const std::string &bytes) : GuardedBuffer(bytes.size()) {
        std::memcpy(data_, bytes.data(), bytes.size());
    }
    ~GuardedBuffer() { VirtualFree(start_, 0, MEM_RELEASE); }
    GuardedBuffer(const GuardedBuffer &) = delete;
    GuardedBuffer &operator=(const GuardedBuffer &) = delete;

    uint8_t *data() const { return data_; }
    template <class Type>
    Type *as() const {
        return reinterpret_cast<Type *>(data_);
    }
    size_t size() const { return size_; }
    std::string bytes() const { return {as<const char>(), size_}; }

  private:
    size_t size_;
    uint8_t *start_;
    uint8_t *data_;
};

} // namespace kal::test
