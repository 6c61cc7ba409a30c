// A DLL that is linked with the GNU C++ library takes three things which that library never returns, and a process may
// load and free a DLL any number of times. Here each of them is released when the DLL is freed:
//   - the memory that is kept for throwing exceptions when memory runs out (74 KB), allocated while the DLL is loaded;
//   - a slot of thread-local storage, of which a process has about a thousand;
//   - a record per thread that has thrown. With the library's own record come two handles of MinGW's thread library,
//   and
//     all of it stays where a thread outlives the DLL.
// The slot is one of fiber-local storage, since the system then frees the records: at the end of each thread, and of
// all threads when the slot is freed.

#include <cstdlib>

#if defined(__MINGW32__) && defined(__GLIBCXX__)

#include "platform/LastErrorKeeper.h"

#include <windows.h>

#include <atomic>

namespace __gnu_cxx {

void __freeres(); // NOLINT(bugprone-reserved-identifier): the library's name

}

namespace {

/// Laid down by the C++ ABI: the exceptions that the thread has caught and those that are being thrown.
struct ThreadExceptions {
    void *caught;
    unsigned int uncaughtCount;
};

std::atomic<DWORD> slot = FLS_OUT_OF_INDEXES;

void WINAPI freeRecord(void *record) {
    std::free(record);
}

void releaseAll() {
    if (const DWORD taken = slot.exchange(FLS_OUT_OF_INDEXES); taken != FLS_OUT_OF_INDEXES) {
        FlsFree(taken);
    }
    __gnu_cxx::__freeres();
}

/// What is registered first runs last. A destructor attribute would run before the destructors of static objects, which
/// may still throw.
void registerRelease() noexcept {
    static std::atomic<bool> isRegistered = false;
    if (!isRegistered) {
        isRegistered = std::atexit(releaseAll) == 0;
    }
}

/// Before every other constructor of the DLL, some of which throw.
__attribute__((constructor(101))) void takeSlot() {
    registerRelease();
    slot = FlsAlloc(&freeRecord);
}

/// The slot; allocated now if none was free while the DLL was loaded. Without one no exception can be thrown.
DWORD takenSlot() noexcept {
    if (slot == FLS_OUT_OF_INDEXES) {
        const DWORD taken = FlsAlloc(&freeRecord);
        DWORD none = FLS_OUT_OF_INDEXES;
        if (!slot.compare_exchange_strong(none, taken)) {
            FlsFree(taken); // another thread was first
        }
    }
    return slot;
}

ThreadExceptions *recordOfThread() noexcept {
    const kal::LastErrorKeeper keeper; // FlsGetValue sets it even when it succeeds
    const DWORD index = takenSlot();
    void *record = FlsGetValue(index);
    if (record == nullptr) {
        registerRelease(); // unless there was no memory for it while the DLL was loaded
        record = std::calloc(1, sizeof(ThreadExceptions));
        if (record == nullptr || !FlsSetValue(index, record)) {
            std::abort(); // as the C++ library does
        }
    }
    return static_cast<ThreadExceptions *>(record);
}

} // namespace

extern "C" {

/// In the place of the C++ library's functions: an object that is linked comes before an archive.
ThreadExceptions *__cxa_get_globals() noexcept { // NOLINT(bugprone-reserved-identifier): the ABI's name
    return recordOfThread();
}

ThreadExceptions *__cxa_get_globals_fast() noexcept { // NOLINT(bugprone-reserved-identifier): the ABI's name
    return recordOfThread();
}
}

#endif
