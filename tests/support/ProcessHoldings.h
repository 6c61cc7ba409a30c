// What this process holds: blocks of the heap, handles, and slots of storage per thread.
#pragma once

#include <cstdint>

#include <windows.h>

#include <malloc.h>

namespace kal::test {

/// By asking for each value that a handle may have: GetProcessHandleCount returns 0 under Wine.
inline DWORD countHandles() {
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

struct ProcessHoldings {
    int64_t blocks = 0; ///< of the C runtime's heap
    int64_t bytes = 0;  ///< in those blocks
    DWORD handles = 0;
    DWORD threadSlot = 0; ///< the slot of thread-local storage that would be allocated next
    DWORD fiberSlot = 0;  ///< the same for fiber-local storage

    static ProcessHoldings now() {
        ProcessHoldings holdings;
        _HEAPINFO block = {};
        while (_heapwalk(&block) == _HEAPOK) {
            if (block._useflag == _USEDENTRY) {
                ++holdings.blocks;
                holdings.bytes += static_cast<int64_t>(block._size);
            }
        }
        holdings.handles = countHandles();
        holdings.threadSlot = TlsAlloc();
        TlsFree(holdings.threadSlot);
        holdings.fiberSlot = FlsAlloc(nullptr);
        FlsFree(holdings.fiberSlot);
        return holdings;
    }
};

} // namespace kal::test
