/// An invisible window for the messages that the library posts.
#pragma once

#include <windows.h>

#include <chrono>
#include <optional>

namespace tool {

/// Only the thread that made the window can receive its messages.
class MessageWindow {
  public:
    MessageWindow();
    ~MessageWindow() { DestroyWindow(window_); }
    MessageWindow(const MessageWindow &) = delete;
    MessageWindow &operator=(const MessageWindow &) = delete;

    [[nodiscard]] HWND window() const noexcept { return window_; }

    using Clock = std::chrono::steady_clock;
    /// The next message posted to the window; nothing after the deadline or when the stop event is set.
    std::optional<MSG> next(Clock::time_point deadline, HANDLE stop);

  private:
    HWND window_;
};

} // namespace tool
