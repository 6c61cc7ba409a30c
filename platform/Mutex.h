#pragma once

#include "platform/ScopedHandle.h"

#include <atomic>
#include <cstdint>
#include <string>

namespace kal {

inline constexpr uint32_t waitWithoutTimeout = 0xFFFFFFFF;

/// A kernel mutex, named (then shared by all processes) or not, that counts the holds of its owning thread.
class Mutex {
  public:
    /// @param name            name of the kernel object, used as it stands; empty for an unnamed mutex
    /// @param everyoneAccess  whether every user may open it
    /// Throws "Mutex::createMutex() CreateMutex failed".
    Mutex(bool initialOwner, const std::string &name, bool everyoneAccess);

    /// Waits for the mutex. A time-out of 0 is deliberately no try-lock: it answers false without looking.
    /// @return true when held, also when its last holder died; false on time-out. Throws on any other result.
    [[nodiscard]] bool acquire(uint32_t timeoutMilliseconds);

    /// Gives back every hold of the calling thread at once (one release undoes nested acquires, deliberately); does
    /// nothing for a thread that is not the owner. Throws "Mutex::release() ReleaseMutex failed".
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

/// Holds an unnamed Mutex for the length of a block.
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
