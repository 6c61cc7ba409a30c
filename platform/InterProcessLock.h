#pragma once

#include "platform/Mutex.h"

namespace kal {

/// Holds a named Mutex for the length of a block.
class InterProcessLock {
  public:
    /// Waits without time-out. Throws "InterProcessLock has no name" before waiting when the mutex is unnamed.
    explicit InterProcessLock(Mutex &mutex);
    InterProcessLock(const InterProcessLock &) = delete;
    InterProcessLock &operator=(const InterProcessLock &) = delete;
    /// Throws when the mutex cannot be released, unless another exception is on its way.
    ~InterProcessLock() noexcept(false);

  private:
    Mutex &mutex_;
};

} // namespace kal
