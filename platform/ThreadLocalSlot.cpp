// The thread library of MinGW takes a slot of thread-local storage when it is first used and keeps it when the DLL that
// it is linked into is freed. A process has about a thousand slots, and a DLL may be loaded and freed any number of
// times: so the slot is given back with the DLL.

#if defined(__MINGW32__)

#include <windows.h>

namespace {

DWORD slot = TLS_OUT_OF_INDEXES; ///< that library takes one, once
DWORD(WINAPI *systemTlsAlloc)() = nullptr;

/// Before every other constructor of the DLL.
__attribute__((constructor(101))) void findTlsAlloc() {
    systemTlsAlloc = reinterpret_cast<DWORD(WINAPI *)()>(
        reinterpret_cast<void *>(GetProcAddress(GetModuleHandleA("kernel32"), "TlsAlloc")));
}

DWORD WINAPI takeSlot() {
    if (systemTlsAlloc == nullptr) {
        findTlsAlloc(); // it was not to be found while the DLL was loaded
    }
    slot = systemTlsAlloc == nullptr ? TLS_OUT_OF_INDEXES : systemTlsAlloc();
    return slot;
}

/// Behind every other destructor of the DLL.
__attribute__((destructor(101))) void giveSlotBack() {
    if (slot != TLS_OUT_OF_INDEXES) {
        TlsFree(slot);
    }
}

} // namespace

extern "C" {

/// Stands in the place of the import, so that every call of the linked libraries comes here.
DWORD(WINAPI *__imp_TlsAlloc)() = takeSlot; // NOLINT(readability-identifier-naming): the linker's name
}

#endif
