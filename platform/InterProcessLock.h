#pragma once

#include "platform/Mutex.h"

namespace kal {

/// Holds a named Mutex for the duration of a block.
class InterProcessLock {
  public:
    /// Waits indefinitely. Throws "InterProcessLock has no name" before waiting if the mutex is unnamed.
    explicit InterProcessLock(Mutex &mutex);
    InterProcessLock(const InterProcessLock &) = delete;
    InterProcessLock &operator=(const InterProcessLock &) = delete;
    /// Throws if the mutex cannot be released, unless an exception is already being handled.
    ~InterProcessLock() noexcept(false);

  private:
    Mutex &mutex_;
};

} // namespace kal
