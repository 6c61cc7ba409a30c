// Makes the order that Windows objects give to threads known to the thread sanitizer, which sees only what Linux's own
// library does. It is part of every module and program: when that is loaded, its import table is changed so that its
// locks, waits and the ends of its threads pass through here and are told.
//
// A wait that succeeds comes after everything that was done before the object was set or released, and after the end of
// every thread that has ended. The latter is more order than there is; it hides only a race with a thread that is gone.

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <memory>

extern "C" {
void __tsan_acquire(void *address);
void __tsan_release(void *address);
}

namespace {

// Order is told by addresses; these are nobody's memory and the same in every module.
constexpr uintptr_t tokens = 0x7000000000;

void *endOfThreads() noexcept {
    return reinterpret_cast<void *>(tokens);
}

void *tokenOf(HANDLE object) noexcept {
    return reinterpret_cast<void *>(tokens + 64 + 8 * (reinterpret_cast<uintptr_t>(object) & 0xFFFFFF));
}

/// The system's own functions: this module imports them as well, and its imports are replaced with the others.
struct System {
    HMODULE kernel = GetModuleHandleA("kernel32.dll");
#define SYSTEM_FUNCTION(name) decltype(&::name) name = find<decltype(&::name)>(#name)
    SYSTEM_FUNCTION(EnterCriticalSection);
    SYSTEM_FUNCTION(TryEnterCriticalSection);
    SYSTEM_FUNCTION(LeaveCriticalSection);
    SYSTEM_FUNCTION(WaitForSingleObject);
    SYSTEM_FUNCTION(WaitForMultipleObjects);
    SYSTEM_FUNCTION(SetEvent);
    SYSTEM_FUNCTION(ReleaseMutex);
    SYSTEM_FUNCTION(ReleaseSemaphore);
    SYSTEM_FUNCTION(CreateThread);
#undef SYSTEM_FUNCTION

    template <class Function>
    Function find(const char *name) const {
        return reinterpret_cast<Function>(reinterpret_cast<void *>(GetProcAddress(kernel, name)));
    }
};

// Before every other object of the module, whose constructors may lock already.
__attribute__((init_priority(101))) const System systemFunctions;

void WINAPI enterCriticalSection(CRITICAL_SECTION *section) {
    systemFunctions.EnterCriticalSection(section);
    __tsan_acquire(section);
}

BOOL WINAPI tryEnterCriticalSection(CRITICAL_SECTION *section) {
    const BOOL entered = systemFunctions.TryEnterCriticalSection(section);
    if (entered) {
        __tsan_acquire(section);
    }
    return entered;
}

void WINAPI leaveCriticalSection(CRITICAL_SECTION *section) {
    __tsan_release(section);
    systemFunctions.LeaveCriticalSection(section);
}

DWORD waited(DWORD result, DWORD count, const HANDLE *handles) noexcept {
    if (result != WAIT_FAILED && result != WAIT_TIMEOUT) {
        for (DWORD index = 0; index < count; ++index) {
            __tsan_acquire(tokenOf(handles[index]));
        }
        __tsan_acquire(endOfThreads());
    }
    return result;
}

DWORD WINAPI waitForSingleObject(HANDLE object, DWORD milliseconds) {
    return waited(systemFunctions.WaitForSingleObject(object, milliseconds), 1, &object);
}

DWORD WINAPI waitForMultipleObjects(DWORD count, const HANDLE *handles, BOOL all, DWORD milliseconds) {
    return waited(systemFunctions.WaitForMultipleObjects(count, handles, all, milliseconds), count, handles);
}

BOOL WINAPI setEvent(HANDLE event) {
    __tsan_release(tokenOf(event));
    return systemFunctions.SetEvent(event);
}

BOOL WINAPI releaseMutex(HANDLE mutex) {
    __tsan_release(tokenOf(mutex));
    return systemFunctions.ReleaseMutex(mutex);
}

BOOL WINAPI releaseSemaphore(HANDLE semaphore, LONG count, LONG *previous) {
    __tsan_release(tokenOf(semaphore));
    return systemFunctions.ReleaseSemaphore(semaphore, count, previous);
}

/// What a thread was to run; the thread owns it.
struct ThreadStart {
    LPTHREAD_START_ROUTINE procedure;
    void *argument;
};

DWORD WINAPI runThread(void *record) {
    const std::unique_ptr<ThreadStart> start(static_cast<ThreadStart *>(record));
    __tsan_acquire(start.get());
    const DWORD result = start->procedure(start->argument);
    __tsan_release(endOfThreads());
    return result;
}

HANDLE WINAPI createThread(SECURITY_ATTRIBUTES *security, SIZE_T stackSize, LPTHREAD_START_ROUTINE procedure,
                           void *argument, DWORD flags, DWORD *id) {
    auto start = std::make_unique<ThreadStart>(ThreadStart{procedure, argument});
    __tsan_release(start.get());
    // The sanitizer needs more stack than the library asks for.
    HANDLE const thread = systemFunctions.CreateThread(security, stackSize < 1048576 ? 1048576 : stackSize, runThread,
                                                       start.get(), flags | STACK_SIZE_PARAM_IS_A_RESERVATION, id);
    if (thread != nullptr) {
        static_cast<void>(start.release());
    }
    return thread;
}

struct Replacement {
    const char *name;
    void *function;
};

const Replacement replacements[] = {
    {"EnterCriticalSection", reinterpret_cast<void *>(&enterCriticalSection)},
    {"TryEnterCriticalSection", reinterpret_cast<void *>(&tryEnterCriticalSection)},
    {"LeaveCriticalSection", reinterpret_cast<void *>(&leaveCriticalSection)},
    {"WaitForSingleObject", reinterpret_cast<void *>(&waitForSingleObject)},
    {"WaitForMultipleObjects", reinterpret_cast<void *>(&waitForMultipleObjects)},
    {"SetEvent", reinterpret_cast<void *>(&setEvent)},
    {"ReleaseMutex", reinterpret_cast<void *>(&releaseMutex)},
    {"ReleaseSemaphore", reinterpret_cast<void *>(&releaseSemaphore)},
    {"CreateThread", reinterpret_cast<void *>(&createThread)},
};

void replace(ULONGLONG &imported, const char *name) {
    for (const Replacement &each : replacements) {
        if (std::strcmp(each.name, name) == 0) {
            DWORD protection = 0;
            VirtualProtect(&imported, sizeof imported, PAGE_READWRITE, &protection);
            imported = reinterpret_cast<ULONGLONG>(each.function);
            VirtualProtect(&imported, sizeof imported, protection, &protection);
        }
    }
}

void watch(HMODULE module) {
    auto *const base = reinterpret_cast<unsigned char *>(module);
    const auto &head = *reinterpret_cast<const IMAGE_NT_HEADERS64 *>(
        base + reinterpret_cast<const IMAGE_DOS_HEADER *>(base)->e_lfanew);
    const IMAGE_DATA_DIRECTORY &imports = head.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    if (imports.Size == 0) {
        return;
    }
    for (auto *entry = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR *>(base + imports.VirtualAddress); entry->Name != 0;
         ++entry) {
        const auto *names = reinterpret_cast<const IMAGE_THUNK_DATA64 *>(base + entry->OriginalFirstThunk);
        auto *addresses = reinterpret_cast<IMAGE_THUNK_DATA64 *>(base + entry->FirstThunk);
        for (; names->u1.AddressOfData != 0; ++names, ++addresses) {
            if ((names->u1.Ordinal & IMAGE_ORDINAL_FLAG64) == 0) {
                const auto *name = reinterpret_cast<const IMAGE_IMPORT_BY_NAME *>(base + names->u1.AddressOfData);
                replace(addresses->u1.Function, reinterpret_cast<const char *>(name->Name));
            }
        }
    }
}

struct Watch {
    Watch() {
        HMODULE self = nullptr;
        GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                           reinterpret_cast<const char *>(&replacements), &self);
        if (self != nullptr) {
            watch(self);
        }
    }
};

__attribute__((init_priority(102))) const Watch watching;

} // namespace
