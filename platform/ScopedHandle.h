#pragma once

#include <windows.h>

#include <utility>

namespace kal {

/// Owns one kernel handle; null and INVALID_HANDLE_VALUE count as empty.
class ScopedHandle {
  public:
    explicit ScopedHandle(HANDLE handle = nullptr) noexcept : handle_(handle) {}
    ScopedHandle(ScopedHandle &&other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    ScopedHandle &operator=(ScopedHandle &&other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~ScopedHandle() {
        if (isOpen()) {
            CloseHandle(handle_);
        }
    }

    [[nodiscard]] bool isOpen() const noexcept { return handle_ != nullptr && handle_ != INVALID_HANDLE_VALUE; }
    [[nodiscard]] HANDLE get() const noexcept { return handle_; }

  private:
    HANDLE handle_;
};

} // namespace kal
