// The thread library of MinGW takes a slot of thread-local storage when it is first used and keeps it when the DLL that
// it is linked into is freed. A process has about a thousand slots, and a DLL may be loaded and freed any number of
// times: so the slot is given back with the DLL.

#if defined(__MINGW32__)

#include <windows.h>

#include <cstdlib>

namespace {

DWORD slot = TLS_OUT_OF_INDEXES; ///< that library takes one, once
DWORD(WINAPI *systemTlsAlloc)() = nullptr;

void giveSlotBack() {
    if (slot != TLS_OUT_OF_INDEXES) {
        TlsFree(slot);
    }
}

/// What is registered first runs last. A destructor attribute would run before the destructors of static objects, which
/// may still need the slot.
void registerEnd() {
    static bool isRegistered = false;
    isRegistered = isRegistered || std::atexit(giveSlotBack) == 0;
}

/// Before every other constructor of the DLL.
__attribute__((constructor(101))) void findTlsAlloc() {
    registerEnd();
    systemTlsAlloc = reinterpret_cast<DWORD(WINAPI *)()>(
        reinterpret_cast<void *>(GetProcAddress(GetModuleHandleA("kernel32"), "TlsAlloc")));
}

DWORD WINAPI takeSlot() {
    registerEnd(); // unless there was no memory for it while the DLL was loaded
    if (systemTlsAlloc == nullptr) {
        findTlsAlloc(); // it was not to be found while the DLL was loaded
    }
    slot = systemTlsAlloc == nullptr ? TLS_OUT_OF_INDEXES : systemTlsAlloc();
    return slot;
}

} // namespace

extern "C" {

/// Stands in the place of the import, so that every call of the linked libraries comes here.
DWORD(WINAPI *__imp_TlsAlloc)() = takeSlot; // NOLINT(readability-identifier-naming): the linker's name
}

#endif
