#pragma once

#include <windows.h>

namespace kal {

/// Gives the thread's last error back as it was, for code that must not be noticed by its caller.
class LastErrorKeeper {
  public:
    LastErrorKeeper() noexcept : lastError_(GetLastError()) {}
    LastErrorKeeper(const LastErrorKeeper &) = delete;
    LastErrorKeeper &operator=(const LastErrorKeeper &) = delete;
    ~LastErrorKeeper() { SetLastError(lastError_); }

  private:
    DWORD lastError_;
};

} // namespace kal
