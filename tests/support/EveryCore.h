// For tests that look for races: their threads must run at the same time, but the suite keeps a program on one core,
// together with its server (cmake/wine-run).
#pragma once

#include <windows.h>

namespace kal::test {

/// While it exists, the threads of this program may use all cores.
class EveryCore {
  public:
    EveryCore() {
        DWORD_PTR ofMachine = 0;
        GetProcessAffinityMask(GetCurrentProcess(), &before_, &ofMachine);
        SetProcessAffinityMask(GetCurrentProcess(), ofMachine);
    }
    ~EveryCore() { SetProcessAffinityMask(GetCurrentProcess(), before_); }
    EveryCore(const EveryCore &) = delete;
    EveryCore &operator=(const EveryCore &) = delete;

  private:
    DWORD_PTR before_ = 0;
};

} // namespace kal::test
