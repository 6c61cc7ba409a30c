// The thread library of MinGW takes a slot of thread-local storage when it is first used and keeps it when the DLL that
// it is linked into is freed. A process has about a thousand slots, and a DLL may be loaded and freed any number of
// times: so what this DLL took is given back with it.

#if defined(__MINGW32__)

#include <windows.h>

#include <iterator>

namespace {

DWORD slots[4];
LONG slotCount = 0;
DWORD(WINAPI *take)() = nullptr; ///< the system's own

/// Before every other constructor of the DLL.
__attribute__((constructor(101))) void findTake() {
    take = reinterpret_cast<DWORD(WINAPI *)()>(
        reinterpret_cast<void *>(GetProcAddress(GetModuleHandleA("kernel32"), "TlsAlloc")));
}

DWORD WINAPI takeSlot() {
    const DWORD slot = take();
    if (slot != TLS_OUT_OF_INDEXES) {
        const LONG place = InterlockedIncrement(&slotCount) - 1;
        if (place < static_cast<LONG>(std::size(slots))) {
            slots[place] = slot;
        }
    }
    return slot;
}

/// Behind every other destructor of the DLL.
__attribute__((destructor(101))) void giveSlotsBack() {
    while (slotCount > 0) {
        --slotCount;
        if (slotCount < static_cast<LONG>(std::size(slots))) {
            TlsFree(slots[slotCount]);
        }
    }
}

} // namespace

extern "C" {

/// Stands in the place of the import, so that every call of the linked libraries comes here.
DWORD(WINAPI *__imp_TlsAlloc)() = takeSlot;
}

#endif
