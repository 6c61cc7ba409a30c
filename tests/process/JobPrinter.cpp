// A process that prints documents through kalclient.dll and the simulator, for tests that end it in between.
//
//   job_printer HANDLE JOBS PIECES          prints so many documents of so many pieces
//   job_printer HANDLE JOBS PIECES MARKER   as before, but in the middle of the first document it makes the file MARKER
//                                           and waits until that is gone; tells each document's result
//
// A document is its name's pieces: recognised whole wherever it is found. Ends with the number of jobs that failed.
#include "api/kal.h"
#include "tests/process/LogProcesses.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <windows.h>

namespace {

/// The first result that is not success, or that of the job's end.
int32_t print(uint16_t handle, const std::string &name, int pieces, const std::filesystem::path &marker) {
    if (const int32_t result = KalStartDoc(handle, 0, name.c_str()); result != KAL_OKAY)
        return result;
    for (int number = 0; number < pieces; ++number) {
        if (number == pieces / 2 && !marker.empty()) {
            std::ofstream(marker).put('\n');
            while (std::filesystem::exists(marker))
                Sleep(5);
        }
        const std::string piece = name + " piece " + std::to_string(number) + "\n";
        auto count = static_cast<uint32_t>(piece.size());
        if (const int32_t result = KalWrite(0, handle, 0, piece.data(), &count); result != KAL_OKAY) {
            KalCancelJob(0, handle);
            return result;
        }
    }
    return KalEndDoc(handle, 0);
}

} // namespace

int main(int argumentCount, char **arguments) {
    if (argumentCount < 4)
        return 100;
    const auto handle = static_cast<uint16_t>(std::strtoul(arguments[1], nullptr, 0));
    const int jobs = std::atoi(arguments[2]);
    const int pieces = std::atoi(arguments[3]);
    std::filesystem::path marker = argumentCount > 4 ? arguments[4] : "";
    KalRegisterApp(0);
    if (KalOpen(0, handle, 0) != KAL_OKAY)
        return 101;
    // Reports to the process that started this one, if it listens, that printing begins.
    if (const HANDLE ready = OpenSemaphoreA(SEMAPHORE_MODIFY_STATE, FALSE,
                                            kal::test::sharedName("ready", kal::test::parentProcessId()).c_str())) {
        ReleaseSemaphore(ready, 1, nullptr);
        CloseHandle(ready);
    }
    int failed = 0;
    for (int number = 0; number < jobs; ++number) {
        const std::string name = std::to_string(GetCurrentProcessId()) + "-" + std::to_string(number);
        const int32_t result = print(handle, name, pieces, marker);
        if (argumentCount > 4) {
            std::printf("%s %d\n", name.c_str(), result);
            std::fflush(stdout);
        }
        failed += result != KAL_OKAY;
        marker.clear();
    }
    KalClose(0, handle);
    KalUnregisterApp(0);
    return failed;
}
