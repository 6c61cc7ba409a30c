#pragma once

#include <windows.h>

namespace kal {

/// A process-local recursive lock, for use with std::lock_guard.
class CriticalSection {
  public:
    CriticalSection() noexcept { InitializeCriticalSection(&section_); }
    CriticalSection(const CriticalSection &) = delete;
    CriticalSection &operator=(const CriticalSection &) = delete;
    ~CriticalSection() { DeleteCriticalSection(&section_); }

    void lock() noexcept { EnterCriticalSection(&section_); }
    void unlock() noexcept { LeaveCriticalSection(&section_); }

  private:
    CRITICAL_SECTION section_;
};

} // namespace kal
