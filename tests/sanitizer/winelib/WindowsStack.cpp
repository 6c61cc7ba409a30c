// The address sanitizer marks the stack around a function's variables and takes the marks off when the function ends.
// When an exception ends it, the marks of all frames are taken off at once, up to the end of the stack; of the stacks
// that Wine makes for the threads of Windows it does not know the end. Here it is.

#include <windows.h>

extern "C" {

void __asan_unpoison_memory_region(const volatile void *address, size_t size);

/// What the compiler calls before each call that does not come back; this module's own calls come here.
__attribute__((visibility("hidden"))) void __asan_handle_no_return(void) {
    const auto *const end = static_cast<const char *>(reinterpret_cast<const NT_TIB *>(NtCurrentTeb())->StackBase);
    const auto *const here = static_cast<const char *>(__builtin_frame_address(0));
    // A stack of Linux, where Wine does its own work, is left to the sanitizer.
    constexpr long long most = 64LL * 1024 * 1024;
    if (end > here && end - here < most) {
        __asan_unpoison_memory_region(here, static_cast<size_t>(end - here));
    }
}
}
