#pragma once

#include <utility>

#include <windows.h>

namespace simulator {

/// Owns a kernel handle. CreateFile's INVALID_HANDLE_VALUE counts as empty.
class Handle {
  public:
    Handle() = default;
    explicit Handle(HANDLE handle) noexcept : handle_(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
    Handle(Handle &&other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    Handle &operator=(Handle &&other) noexcept {
        if (this != &other) {
            close();
            handle_ = std::exchange(other.handle_, nullptr);
        }
        return *this;
    }
    ~Handle() { close(); }

    [[nodiscard]] HANDLE get() const noexcept { return handle_; }
    explicit operator bool() const noexcept { return handle_ != nullptr; }

    void close() noexcept {
        if (handle_) {
            CloseHandle(std::exchange(handle_, nullptr));
        }
    }

  private:
    HANDLE handle_ = nullptr;
};

} // namespace simulator
