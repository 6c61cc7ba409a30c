#include "tests/support/ImportHook.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace kal::test {

namespace {

const IMAGE_IMPORT_DESCRIPTOR *firstImport(const char *base) {
    const auto *dos = reinterpret_cast<const IMAGE_DOS_HEADER *>(base);
    const auto *headers = reinterpret_cast<const IMAGE_NT_HEADERS64 *>(base + dos->e_lfanew);
    const auto &entry = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    return reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR *>(base + entry.VirtualAddress);
}

/// Visits each function that is imported by name, with the location of its address.
template <class Visit>
void eachImport(HMODULE module, Visit visit) {
    auto *base = reinterpret_cast<char *>(module);
    for (const auto *library = firstImport(base); library->Name != 0; ++library) {
        const auto *named = reinterpret_cast<const IMAGE_THUNK_DATA64 *>(base + library->OriginalFirstThunk);
        auto *bound = reinterpret_cast<IMAGE_THUNK_DATA64 *>(base + library->FirstThunk);
        for (; named->u1.AddressOfData != 0; ++named, ++bound) {
            if (IMAGE_SNAP_BY_ORDINAL64(named->u1.Ordinal))
                continue;
            const auto *import = reinterpret_cast<const IMAGE_IMPORT_BY_NAME *>(base + named->u1.AddressOfData);
            visit(reinterpret_cast<const char *>(import->Name), reinterpret_cast<void **>(&bound->u1.Function));
        }
    }
}

} // namespace

void **findImport(HMODULE module, const char *name) {
    void **found = nullptr;
    eachImport(module, [&](const char *imported, void **place) {
        if (found == nullptr && std::strcmp(imported, name) == 0)
            found = place;
    });
    return found;
}

std::vector<std::string> importedFunctions(HMODULE module) {
    std::vector<std::string> names;
    eachImport(module, [&](const char *imported, void **) { names.emplace_back(imported); });
    return names;
}

std::vector<std::string> importedLibraries(HMODULE module) {
    const auto *base = reinterpret_cast<const char *>(module);
    std::vector<std::string> names;
    for (const auto *library = firstImport(base); library->Name != 0; ++library)
        names.emplace_back(base + library->Name);
    return names;
}

void writeImport(void **place, void *address) {
    DWORD protection = 0;
    VirtualProtect(place, sizeof *place, PAGE_READWRITE, &protection);
    *place = address;
    VirtualProtect(place, sizeof *place, protection, &protection);
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
