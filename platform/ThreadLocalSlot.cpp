// The thread library of MinGW takes a slot of thread-local storage at its first use, and keeps the slot when its DLL is
// freed. A process has about a thousand slots, and may load and free a DLL any number of times. This file therefore
// frees the slot with the DLL.

#if defined(__MINGW32__)

#include <windows.h>

#include <cstdlib>

namespace {

DWORD slot = TLS_OUT_OF_INDEXES; ///< the thread library takes a single one
DWORD(WINAPI *systemTlsAlloc)() = nullptr;

void giveSlotBack() {
    if (slot != TLS_OUT_OF_INDEXES) {
        TlsFree(slot);
    }
}

/// Functions registered with atexit run in reverse order, so this one runs last. A destructor attribute would run
/// before the destructors of static objects, which may still need the slot.
void registerEnd() {
    static bool isRegistered = false;
    isRegistered = isRegistered || std::atexit(giveSlotBack) == 0;
}

/// Runs before every other constructor of the DLL.
__attribute__((constructor(101))) void findTlsAlloc() {
    registerEnd();
    systemTlsAlloc = reinterpret_cast<DWORD(WINAPI *)()>(
        reinterpret_cast<void *>(GetProcAddress(GetModuleHandleA("kernel32"), "TlsAlloc")));
}

DWORD WINAPI takeSlot() {
    registerEnd(); // if that failed while the DLL was loaded
    if (systemTlsAlloc == nullptr) {
        findTlsAlloc(); // if that failed while the DLL was loaded
    }
    slot = systemTlsAlloc == nullptr ? TLS_OUT_OF_INDEXES : systemTlsAlloc();
    return slot;
}

} // namespace

extern "C" {

/// Replaces the import, so that every call by the linked libraries arrives here.
DWORD(WINAPI *__imp_TlsAlloc)() = takeSlot; // NOLINT(readability-identifier-naming): the linker's name
}

#endif
