// What loading the library costs, against a DLL of the same tool chain that does nothing.

#include "bench/Program.h"
#include "bench/Timing.h"

#include <windows.h>

#include <cstdio>
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

void loadAndFree(const char *name) {
    FreeLibrary(load(name));
}

/// Loads, looks an export up and calls it, as a program does that begins to use a library.
void loadAndCall(const char *name, const char *exported) {
    const HMODULE module = load(name);
    reinterpret_cast<int32_t (*)()>(reinterpret_cast<void *>(GetProcAddress(module, exported)))();
    FreeLibrary(module);
}

nlohmann::json describe(const char *what, const bench::Comparison &measured) {
    std::printf("%-32s %12.2f %12.2f %7.3f %7.3f-%.3f\n", what, measured.floor, measured.subject, measured.ratio,
                measured.low, measured.high);
    return {{"what", what},
            {"floorMicroseconds", measured.floor},
            {"libraryMicroseconds", measured.subject},
            {"ratio", measured.ratio},
            {"lowerQuartile", measured.low},
            {"upperQuartile", measured.high}};
}

nlohmann::json measureAll() {
    const auto nothing = [] {};
    nlohmann::json result = nlohmann::json::array();
    result.push_back(
        describe("load and free", bench::compare([] { loadAndFree("kalclient.dll"); }, [] { loadAndFree("empty.dll"); },
                                                 nothing, blockMicroseconds)));
    result.push_back(describe("load, first call (Initialize), free",
                              bench::compare([] { loadAndCall("kalclient.dll", "Initialize"); },
                                             [] { loadAndCall("empty.dll", "answer"); }, nothing, blockMicroseconds)));
    return result;
}

} // namespace

int main(int argumentCount, char **arguments) {
    return bench::runProgram(argumentCount, arguments, measureAll);
}
