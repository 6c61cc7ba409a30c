#pragma once

#include "platform/MadeAtFirstUse.h"
#include "platform/ScopedHandle.h"

#include <atomic>
#include <cstdint>
#include <string>

namespace kal {

inline constexpr uint32_t waitWithoutTimeout = 0xFFFFFFFF;

/// A kernel mutex that counts the holds of its owning thread. With a name, all processes share it.
class Mutex {
  public:
    /// @param name            name of the kernel object, used unchanged; empty for an unnamed mutex
    /// @param everyoneAccess  whether every user may open it
    /// Throws "Mutex::createMutex() CreateMutex failed".
    Mutex(bool initialOwner, const std::string &name, bool everyoneAccess);

    /// Waits for the mutex. A timeout of 0 is deliberately not a try-lock: it returns false without checking.
    /// @return true if it was acquired, even after its last owner died; false after a timeout.
    /// Throws on any other result.
    [[nodiscard]] bool acquire(uint32_t timeoutMilliseconds);

    /// Releases all holds of the calling thread at once (deliberate: one release undoes nested acquires). Does nothing
    /// if the thread is not the owner. Throws "Mutex::release() ReleaseMutex failed".
    void release();

    [[nodiscard]] const std::string &name() const noexcept { return name_; }

  private:
    HANDLE createMutex(SECURITY_ATTRIBUTES *securityAttributes, bool initialOwner, const std::string &name);
    void countHold() noexcept;

    ScopedHandle handle_;
    std::string name_;
    uint32_t holdCount_ = 0;                ///< touched by the owning thread only
    std::atomic<uint32_t> ownerThread_ = 0; ///< the last thread that acquired; read by others in release()
};

/// An unnamed Mutex of the process, made when it is first acquired.
class ProcessMutex {
  public:
    /// Throws "Mutex::createMutex() CreateMutex failed"; the next use tries again.
    [[nodiscard]] Mutex &get() { return mutex_.get(false, "", false); }

  private:
    MadeAtFirstUse<Mutex> mutex_;
};

/// Holds an unnamed Mutex for the duration of a block.
class ScopedMutex {
  public:
    explicit ScopedMutex(Mutex &mutex) : mutex_(mutex) { static_cast<void>(mutex_.acquire(waitWithoutTimeout)); }
    ScopedMutex(const ScopedMutex &) = delete;
    ScopedMutex &operator=(const ScopedMutex &) = delete;
    ~ScopedMutex();

  private:
    Mutex &mutex_;
};

} // namespace kal
