// What this process holds of the system's resources.
#pragma once

#include <cstdint>

#include <windows.h>

#include <psapi.h>

namespace kal::test {

struct ProcessFigures {
    DWORD handles = 0;
    uint64_t bytes = 0; ///< of memory in use

    static ProcessFigures now() {
        ProcessFigures figures;
        figures.handles = countHandles();
        PROCESS_MEMORY_COUNTERS memory = {};
        memory.cb = sizeof memory;
        GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory);
        figures.bytes = memory.WorkingSetSize;
        return figures;
    }

  private:
    /// By asking after each value a handle may have: GetProcessHandleCount answers 0 under Wine.
    static DWORD countHandles() {
        constexpr uintptr_t step = 4, longestGap = 4096;
        DWORD count = 0;
        for (uintptr_t value = step, last = 0; value < last + longestGap; value += step) {
            DWORD flags = 0;
            if (GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags)) {
                ++count;
                last = value;
            }
        }
        return count;
    }
};

} // namespace kal::test
