#pragma once

#include <windows.h>

namespace simulator {

/// A lock without a destructor, since a thread that was terminated at process exit may still own it.
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
