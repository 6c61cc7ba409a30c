// One way of loading a library, in a process of its own: system libraries stay loaded after the first time, and would
// hide what the next one costs. scripts/measure-loading runs it. Nothing but the kernel is imported.
//
//   load nothing                         ends at once
//   load first LIBRARY                   the time of the first load
//   load cycle LIBRARY ROUNDS EXPORT...  the median time to load, call the exports with 0, and free
//   load hold LIBRARY                    loads, writes "ready" and waits for the end of its input
//   load alerts LIBRARY COUNT            the same after a window received COUNT alerts
//
// Times are printed in microseconds.

#include "api/kal.h"
#include "comc/comc.h"

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

double microseconds() {
    LARGE_INTEGER count;
    LARGE_INTEGER frequency;
    QueryPerformanceCounter(&count);
    QueryPerformanceFrequency(&frequency);
    return static_cast<double>(count.QuadPart) * 1e6 / static_cast<double>(frequency.QuadPart);
}

HMODULE load(const char *name) {
    const HMODULE module = LoadLibraryA(name);
    if (module == nullptr) {
        std::fprintf(stderr, "cannot load %s: %lu\n", name, GetLastError());
        std::exit(1);
    }
    return module;
}

template <class Function>
Function *find(HMODULE module, const char *name) {
    const FARPROC found = GetProcAddress(module, name);
    if (found == nullptr) {
        std::fprintf(stderr, "no export %s\n", name);
        std::exit(1);
    }
    return reinterpret_cast<Function *>(reinterpret_cast<void *>(found));
}

int measureFirst(const char *library) {
    const double begin = microseconds();
    load(library);
    std::printf("%.1f\n", microseconds() - begin);
    return 0;
}

int measureCycle(const char *library, int rounds, char **exports) {
    std::vector<double> times;
    for (int round = 0; round < rounds; ++round) {
        const double begin = microseconds();
        const HMODULE module = load(library);
        for (char **name = exports; *name != nullptr; ++name) {
            find<uint16_t(uint16_t)>(module, *name)(0); // a function without arguments does not look at it
        }
        FreeLibrary(module);
        times.push_back(microseconds() - begin);
    }
    std::nth_element(times.begin(), times.begin() + rounds / 2, times.end());
    std::printf("%.2f\n", times[static_cast<size_t>(rounds) / 2]);
    return 0;
}

int waitReady() {
    std::puts("ready");
    std::fflush(stdout);
    while (std::getchar() != EOF) {
    }
    return 0;
}

int holdAlerts(const char *library, uint32_t count) {
    const HMODULE module = load(library);
    find<decltype(KalRegisterApp)>(module, "KalRegisterApp")(0);
    find<decltype(KalOpen)>(module, "KalOpen")(0, 3, 0);
    const uint32_t everyAlert = 0xFFFF;
    find<decltype(KalCaptureAlerts)>(module, "KalCaptureAlerts")(0, 3, &everyAlert, module); // no window of that handle
    const auto deliver = find<OrxAlertCallback()>(GetModuleHandleA("comc.dll"), "BenchAlertCallback")();
    static const uint8_t alert[24] = {0xA5, 0, 21, 0, 0xF0, 0x73, 0, 0, 0, 0, 2};
    for (uint32_t at = 0; at < count; ++at) {
        if (deliver(3, alert, sizeof alert) != 0) {
            std::fprintf(stderr, "an alert was refused\n");
            return 1;
        }
    }
    return waitReady();
}

} // namespace

int main(int argumentCount, char **arguments) {
    const char *const mode = argumentCount > 1 ? arguments[1] : "";
    if (std::strcmp(mode, "nothing") == 0) {
        return 0;
    }
    if (std::strcmp(mode, "first") == 0 && argumentCount == 3) {
        return measureFirst(arguments[2]);
    }
    if (std::strcmp(mode, "cycle") == 0 && argumentCount >= 4) {
        return measureCycle(arguments[2], std::atoi(arguments[3]), arguments + 4);
    }
    if (std::strcmp(mode, "hold") == 0 && argumentCount == 3) {
        load(arguments[2]);
        return waitReady();
    }
    if (std::strcmp(mode, "alerts") == 0 && argumentCount == 4) {
        return holdAlerts(arguments[2], static_cast<uint32_t>(std::atoi(arguments[3])));
    }
    return 2;
}
