#pragma once

#include <windows.h>

namespace simulator {

/// A lock without a destructor: it may be held by a thread that the end of the process has already taken away.
class Lock {
  public:
    Lock() = default;
    Lock(const Lock &) = delete;
    Lock &operator=(const Lock &) = delete;

    void lock() noexcept { AcquireSRWLockExclusive(&lock_); }
    void unlock() noexcept { ReleaseSRWLockExclusive(&lock_); }

  private:
    SRWLOCK lock_ = SRWLOCK_INIT;
};

} // namespace simulator
