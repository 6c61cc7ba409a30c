/// Stands in for the C runtime's header of this name where the library is built for Linux's own C library.
#pragma once

#include <windows.h>

#include <cstdint>

// The calling convention is the system's own in 64-bit code; only the name is missing there.
inline uintptr_t _beginthreadex(void *security, unsigned stackSize, unsigned(__stdcall *procedure)(void *),
                                void *argument, unsigned flags, unsigned *threadId) {
    DWORD id = 0;
    HANDLE const thread = CreateThread(static_cast<SECURITY_ATTRIBUTES *>(security), stackSize,
                                       reinterpret_cast<LPTHREAD_START_ROUTINE>(reinterpret_cast<void *>(procedure)),
                                       argument, flags, &id);
    if (threadId != nullptr) {
        *threadId = id;
    }
    // A failure is 0, as in the runtime that is stood in for.
    return reinterpret_cast<uintptr_t>(thread);
}
