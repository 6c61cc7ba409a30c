// The end of a module that Wine loads from Linux, as Windows has it: static objects are destroyed when the module is
// detached, in the reverse order of their making. Linux would destroy them while the file is being unmapped, where
// nothing of Windows may be called any more.

#include "StaticObjects.h"

#include <windows.h>

extern "C" BOOL WINAPI moduleMain(HINSTANCE module, DWORD reason, LPVOID reserved); ///< the module's own

extern "C" __attribute__((weak)) int __lsan_do_recoverable_leak_check(void);

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved) {
    const BOOL result = moduleMain(module, reason, reserved);
    if (reason == DLL_PROCESS_DETACH && reserved == nullptr) {
        winelib::destroyStaticObjects();
        if (&__lsan_do_recoverable_leak_check != nullptr &&
            GetEnvironmentVariableA("KAL_NAME_LEAKS", nullptr, 0) != 0) {
            __lsan_do_recoverable_leak_check(); // while the code that leaked can be named
        }
    }
    return result;
}
