#pragma once

#include <windows.h>

namespace kal {

/// Restores the thread's last error, for code that callers must not notice.
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
