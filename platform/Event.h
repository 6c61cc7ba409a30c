#pragma once

#include "platform/ScopedHandle.h"

#include <atomic>
#include <cstdint>
#include <string>

namespace kal {

/// A kernel event. The constructor makes a valid handle or throws Win32Exception.
class Event {
  public:
    /// @param name            name of the kernel object; empty for an unnamed event
    /// @param everyoneAccess  whether every user may open it
    Event(bool manualReset, bool initialState, const std::string &name, bool everyoneAccess);

    /// Signals the event. Throws "Event::set() failed".
    void set();

    /// Waits; 0xFFFFFFFF waits indefinitely. @return true if the event was signalled; false after a timeout, after any
    /// other result, and once if the wait was cancelled. Throws "Event::wait() failed".
    [[nodiscard]] bool wait(uint32_t timeoutMilliseconds);

    /// Makes the next successful wait return false.
    void cancelNextWait() noexcept { cancelled_ = true; }

    /// The error code of the last failed set().
    [[nodiscard]] uint32_t lastError() const noexcept { return lastError_; }

  private:
    static HANDLE createEvent(SECURITY_ATTRIBUTES *securityAttributes, bool manualReset, bool initialState,
                              const std::string &name);

    ScopedHandle handle_;
    std::string name_;
    std::atomic<bool> cancelled_ = false;
    uint32_t lastError_ = 0;
};

} // namespace kal
