// spy_client SIZE [FILE]: a client that prints a document of SIZE bytes in two writes. The exit status is the number of
// calls whose result differs from that without a spy. Writes the peak memory use in bytes to FILE.
#include "tests/spy/ClientDocument.h"

#include <windows.h>

#include <psapi.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>

namespace {

/// Writes the peak memory use of this process. Wine reports it only while the process runs.
void writePeakMemory(const char *file) {
    PROCESS_MEMORY_COUNTERS memory{};
    memory.cb = sizeof memory;
    GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory);
    std::ofstream(file) << memory.PeakWorkingSetSize;
}

} // namespace

int main(int count, char **arguments) {
    const auto size = static_cast<uint32_t>(std::strtoul(arguments[1], nullptr, 10));
    std::string path(MAX_PATH, '\0');
    path.resize(GetModuleFileNameA(nullptr, path.data(), MAX_PATH));
    path.replace(path.rfind('\\') + 1, path.npos, "comc.dll");
    const HMODULE module = LoadLibraryA(path.c_str());
    if (module == nullptr) {
        return 97;
    }
    const auto find = [module](const char *name) { return reinterpret_cast<void *>(GetProcAddress(module, name)); };
    using Plain = uint32_t();
    using Write = uint32_t(uint32_t, uint32_t, const void *, uint32_t, uint32_t *);
    int wrong = 0;
    const auto expectZero = [&](uint32_t code) { wrong += code == 0 ? 0 : 1; };
    const std::string document = kal::test::clientDocument(size);
    uint32_t written = 0;
    expectZero(reinterpret_cast<Plain *>(find("OrxInitialize"))());
    for (int half = 0; half < 2; ++half) {
        expectZero(reinterpret_cast<Write *>(find("OrxWritePrinter"))(1, 5, document.data() + size / 2 * half, size / 2,
                                                                      &written));
    }
    expectZero(reinterpret_cast<Plain *>(find("OrxUninitialize"))());
    FreeLibrary(module);
    if (count > 2) {
        writePeakMemory(arguments[2]);
    }
    return wrong;
}
