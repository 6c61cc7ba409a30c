#include "tests/faults/Watchdog.h"

#include <atomic>
#include <csignal>
#include <cstring>
#include <mutex>

#include <windows.h>

namespace kal::test {

namespace {

constexpr DWORD longestMilliseconds = 30000;

char current[512];            // plain memory: read by a thread that must not wait for anybody
std::atomic<DWORD> since = 0; // tick of the latest nowTrying; 0: nothing is tried

/// Without the C library: its locks may be held by the thread that is stuck.
void endProgram(const char *why) {
    const HANDLE output = GetStdHandle(STD_ERROR_HANDLE);
    DWORD written = 0;
    for (const char *text : {why, " while trying: ", static_cast<const char *>(current), "\n"})
        WriteFile(output, text, static_cast<DWORD>(std::strlen(text)), &written, nullptr);
    TerminateProcess(GetCurrentProcess(), 3);
}

DWORD WINAPI watch(void *) {
    for (;;) {
        Sleep(500);
        const DWORD began = since;
        if (began != 0 && GetTickCount() - began > longestMilliseconds)
            endProgram("NO PROGRESS");
    }
}

LONG WINAPI noteCrash(EXCEPTION_POINTERS *exception) {
    const DWORD code = exception->ExceptionRecord->ExceptionCode;
    if (code == EXCEPTION_ACCESS_VIOLATION || code == EXCEPTION_STACK_OVERFLOW ||
        code == EXCEPTION_ILLEGAL_INSTRUCTION || code == EXCEPTION_PRIV_INSTRUCTION)
        endProgram("CRASH");
    return EXCEPTION_CONTINUE_SEARCH;
}

void noteAbort(int) {
    endProgram("ABORT");
}

void start() {
    static std::once_flag once;
    std::call_once(once, [] {
        AddVectoredExceptionHandler(1, noteCrash);
        std::signal(SIGABRT, noteAbort);
        CloseHandle(CreateThread(nullptr, 0, watch, nullptr, 0, nullptr)); // ends with the process
    });
}

} // namespace

void nowTrying(const std::string &what) {
    start();
    std::strncpy(current, what.c_str(), sizeof current - 1);
    const DWORD now = GetTickCount();
    since = now == 0 ? 1 : now;
}

void tryingNothing() {
    since = 0;
}

} // namespace kal::test
