// The end of a module that Wine loads from Linux, as Windows has it: static objects are destroyed when the module is
// detached, in the reverse order of their making. Linux would destroy them while the file is being unmapped, where
// nothing of Windows may be called any more.

#include <windows.h>

#include <cstddef>

extern "C" BOOL WINAPI moduleMain(HINSTANCE module, DWORD reason, LPVOID reserved); ///< the module's own

extern "C" __attribute__((weak)) int __lsan_do_recoverable_leak_check(void);

namespace {

struct Destruction {
    void (*destroy)(void *);
    void *object;
};

constexpr std::size_t most = 1024;
Destruction destructions[most];
std::size_t count = 0;

} // namespace

/// What the compiler calls for each static object with a destructor.
extern "C" __attribute__((visibility("hidden"))) int __cxa_atexit(void (*destroy)(void *), void *object, void *) {
    if (count == most) {
        return -1;
    }
    destructions[count++] = {destroy, object};
    return 0;
}

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved) {
    const BOOL result = moduleMain(module, reason, reserved);
    if (reason == DLL_PROCESS_DETACH && reserved == nullptr) {
        while (count > 0) {
            const Destruction &last = destructions[--count];
            last.destroy(last.object);
        }
        if (&__lsan_do_recoverable_leak_check != nullptr &&
            GetEnvironmentVariableA("KAL_NAME_LEAKS", nullptr, 0) != 0) {
            __lsan_do_recoverable_leak_check(); // while the code that leaked can be named
        }
    }
    return result;
}
