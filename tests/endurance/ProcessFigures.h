// What this process holds of the system's resources.
#pragma once

#include "tests/support/ProcessHoldings.h"

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
};

} // namespace kal::test
