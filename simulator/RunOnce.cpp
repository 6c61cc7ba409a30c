// The C++ library makes its locale by pthread_once, and MinGW's function of that name opens a record of the thread with
// two handles, which are lost when the DLL is freed. This one takes nothing.

#if defined(__MINGW32__)

#include <windows.h>

#include <atomic>

extern "C" {

/// In the place of pthread_once (the linker's --wrap). The state is 0 until the function is called, 1 while it runs,
/// then 2.
int __wrap_pthread_once(long *state, void (*function)()) { // NOLINT(bugprone-reserved-identifier): the linker's name
    const std::atomic_ref<long> current(*state);
    long expected = 0;
    if (current.compare_exchange_strong(expected, 1)) {
        function();
        current = 2;
    }
    while (current != 2) {
        SwitchToThread();
    }
    return 0;
}
}

#endif
