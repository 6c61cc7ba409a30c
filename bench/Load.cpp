// What loading the library costs, against a DLL of the same tool chain that does nothing.

#include "bench/Program.h"
#include "bench/Timing.h"

#include <windows.h>

#include <cstdio>
#include <initializer_list>
#include <stdexcept>
#include <string>

namespace {

constexpr double blockMicroseconds = 200'000;

HMODULE load(const char *name) {
    const HMODULE module = LoadLibraryA(name);
    if (module == nullptr) {
        throw std::runtime_error(std::string("cannot load ") + name);
    }
    return module;
}

/// Loads, looks exports up and calls them, as a program does that begins to use a library, and frees.
void loadAndCall(const char *name, std::initializer_list<const char *> exports) {
    const HMODULE module = load(name);
    for (const char *exported : exports) {
        // Who takes no argument does not look at it.
        reinterpret_cast<uint16_t (*)(uint16_t)>(reinterpret_cast<void *>(GetProcAddress(module, exported)))(0);
    }
    FreeLibrary(module);
}

nlohmann::json describe(const char *what, const bench::Comparison &measured) {
    std::printf("%-48s %12.2f %12.2f %7.3f %7.3f-%.3f\n", what, measured.floor, measured.subject, measured.ratio,
                measured.low, measured.high);
    return {{"what", what},
            {"floorMicroseconds", measured.floor},
            {"libraryMicroseconds", measured.subject},
            {"ratio", measured.ratio},
            {"lowerQuartile", measured.low},
            {"upperQuartile", measured.high}};
}

nlohmann::json measure(const char *what, std::initializer_list<const char *> exports,
                       std::initializer_list<const char *> floorExports) {
    return describe(what, bench::compare([=] { loadAndCall("kalclient.dll", exports); },
                                         [=] { loadAndCall("empty.dll", floorExports); }, [] {}, blockMicroseconds));
}

nlohmann::json measureAll() {
    // Initialize finds its work done by the loading; what a program pays that registers first is the last row.
    return {
        measure("load and free", {}, {}),
        measure("load, first call (Initialize), free", {"Initialize"}, {"answer"}),
        measure("load, KalRegisterApp and KalUnregisterApp, free", {"KalRegisterApp", "KalUnregisterApp"},
                {"answer", "answer"}),
    };
}

} // namespace

int main(int argumentCount, char **arguments) {
    return bench::runProgram(argumentCount, arguments, measureAll);
}
