// A process that calls the library so that it logs, on several threads; the tests start several of it at once.
//
//   log_writer FOLDER LIBRARY THREADS CALLS         every thread makes its calls, numbered by their handle from 1 on
//   log_writer FOLDER LIBRARY THREADS CALLS stall   as before, until the first line is to be written: then it stays
//                                                   there, with the log's lock held, and says so by the event "holding"
//   log_writer FOLDER LIBRARY THREADS CALLS pause   as before, resting after each step of writing a line, so that
//                                                   an end from outside finds it between any two of them
#include "api/kal.h"
#include "tests/process/LogProcesses.h"
#include "tests/support/ImportHook.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/StagedLibrary.h"

#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <windows.h>

using namespace kal::test;

namespace {

using WriteFileHook = ImportHook<"WriteFile", BOOL(HANDLE, LPCVOID, DWORD, LPDWORD, LPOVERLAPPED)>;

BOOL stall(HANDLE, LPCVOID, DWORD, LPDWORD, LPOVERLAPPED) {
    const HANDLE holding = OpenEventA(EVENT_MODIFY_STATE, FALSE, sharedName("holding", parentProcessId()).c_str());
    SetEvent(holding);
    Sleep(INFINITE);
    CloseHandle(holding); // not reached: the test kills the process
    return FALSE;
}

/// A system call that is followed by a rest while this lives.
template <ImportName Name, typename Result, typename... Arguments>
class RestingCall {
  public:
    explicit RestingCall(HMODULE library)
        : hook_(library, [this](Arguments... arguments) {
              const Result result = hook_.original(arguments...);
              const DWORD error = GetLastError();
              Sleep(1);
              SetLastError(error);
              return result;
          }) {}

  private:
    ImportHook<Name, Result(Arguments...)> hook_;
};

struct RestingSteps {
    explicit RestingSteps(HMODULE library) : open(library), seek(library), write(library), release(library) {}

    RestingCall<"CreateFileA", HANDLE, LPCSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE> open;
    RestingCall<"SetFilePointer", DWORD, HANDLE, LONG, PLONG, DWORD> seek;
    RestingCall<"WriteFile", BOOL, HANDLE, LPCVOID, DWORD, LPDWORD, LPOVERLAPPED> write;
    RestingCall<"ReleaseMutex", BOOL, HANDLE> release;
};

/// Says that this process is ready and waits until all are.
void waitForTheStart() {
    const HANDLE ready = OpenSemaphoreA(SEMAPHORE_ALL_ACCESS, FALSE, sharedName("ready", parentProcessId()).c_str());
    const HANDLE start = OpenEventA(SYNCHRONIZE, FALSE, sharedName("start", parentProcessId()).c_str());
    ReleaseSemaphore(ready, 1, nullptr);
    WaitForSingleObject(start, INFINITE);
    CloseHandle(start);
    CloseHandle(ready);
}

} // namespace

int main(int argumentCount, char **arguments) {
    if (argumentCount < 5)
        return 2;
    const std::string folder = arguments[1];
    const std::string libraryName = arguments[2];
    const int threadCount = std::atoi(arguments[3]);
    const int callCount = std::atoi(arguments[4]);

    PrivateMachine machine;
    const std::string brandCode = libraryName.substr(0, 4);
    for (const char *setting : {"startLog", "Clocktime_In_Header", "Proc_Id_In_Header", "Thread_Id_In_Header"})
        machine.setLogger(setting, 1, brandCode);
    SetEnvironmentVariableA("ALLUSERSPROFILE", folder.c_str()); // settings of its own, but one log for all

    const HMODULE library = LoadLibraryA((folder + "\\" + libraryName).c_str());
    if (library == nullptr)
        return 3;
    std::unique_ptr<WriteFileHook> stalling;
    std::unique_ptr<RestingSteps> resting;
    const std::string how = argumentCount > 5 ? arguments[5] : "";
    if (how == "stall")
        stalling = std::make_unique<WriteFileHook>(library, stall);
    else if (how == "pause")
        resting = std::make_unique<RestingSteps>(library);

    waitForTheStart();
    exported<decltype(KalRegisterApp)>(library, "KalRegisterApp")(0);
    auto *close = exported<decltype(KalCloseLM)>(library, "KalCloseLM");
    std::vector<std::thread> threads;
    for (int number = 0; number < threadCount; ++number)
        threads.emplace_back([=] {
            for (int handle = 1; handle <= callCount; ++handle)
                close(0, static_cast<uint16_t>(handle));
        });
    for (std::thread &thread : threads)
        thread.join();
    exported<decltype(KalUnregisterApp)>(library, "KalUnregisterApp")(0);
    FreeLibrary(library);
    return 0;
}
