// A test that looks for races wants its threads to run at the same time. The suite keeps a program on one core, where
// its server is (cmake/wine-run).
#pragma once

#include <windows.h>

namespace kal::test {

/// While it exists, the threads of this program may use every core of the machine.
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
