#include "tests/support/ImportHook.h"

#include "tests/support/ImportTable.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace kal::test {

void **findImport(HMODULE module, const char *name) {
    const ImportTable table(module);
    void **found = nullptr;
    table.eachFunction([&](const Import &import) {
        if (found == nullptr && std::strcmp(import.name, name) == 0) {
            table.resolve(import);
            found = import.slot;
        }
    });
    return found;
}

std::vector<std::string> importedFunctions(HMODULE module) {
    std::vector<std::string> names;
    ImportTable(module).eachFunction([&](const Import &import) { names.emplace_back(import.name); });
    return names;
}

std::vector<std::string> delayedFunctions(HMODULE module) {
    std::vector<std::string> names;
    ImportTable(module).eachFunction([&](const Import &import) {
        if (import.isDelayed)
            names.emplace_back(import.name);
    });
    return names;
}

std::vector<std::string> importedLibraries(HMODULE module) {
    std::vector<std::string> names;
    ImportTable(module).eachLibrary([&](const char *name, bool) { names.emplace_back(name); });
    return names;
}

std::vector<std::string> delayedLibraries(HMODULE module) {
    std::vector<std::string> names;
    ImportTable(module).eachLibrary([&](const char *name, bool isDelayed) {
        if (isDelayed)
            names.emplace_back(name);
    });
    return names;
}

void resolveDelayedImports(HMODULE module) {
    const ImportTable table(module);
    table.eachFunction([&](const Import &import) { table.resolve(import); });
}

void writeImport(void **place, void *address) {
    ImportTable::write(place, address);
}

void awaitZero(const std::atomic<int> &threadsInside, const char *name) noexcept {
    constexpr ULONGLONG limitMilliseconds = 30000;
    const ULONGLONG begin = GetTickCount64();
    while (threadsInside != 0) {
        if (GetTickCount64() - begin > limitMilliseconds) {
            std::fprintf(stderr, "ImportHook: a thread is still inside the replacement of %s\n", name);
            std::abort();
        }
        SwitchToThread();
    }
}

} // namespace kal::test
