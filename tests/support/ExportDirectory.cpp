#include "tests/support/ExportDirectory.h"

#include <cstdint>
#include <cstring>

namespace kal::test {

namespace {

struct ExportTable {
    char *base;
    IMAGE_EXPORT_DIRECTORY *directory;
    DWORD size;

    explicit ExportTable(HMODULE module) : base(reinterpret_cast<char *>(module)) {
        const auto *dos = reinterpret_cast<const IMAGE_DOS_HEADER *>(base);
        const auto *headers = reinterpret_cast<const IMAGE_NT_HEADERS64 *>(base + dos->e_lfanew);
        const auto &entry = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
        directory = reinterpret_cast<IMAGE_EXPORT_DIRECTORY *>(base + entry.VirtualAddress);
        size = entry.Size;
    }
    uint32_t *names() const { return reinterpret_cast<uint32_t *>(base + directory->AddressOfNames); }
    uint16_t *ordinals() const { return reinterpret_cast<uint16_t *>(base + directory->AddressOfNameOrdinals); }
    const char *name(size_t index) const { return base + names()[index]; }
};

} // namespace

std::vector<std::string> exportNames(HMODULE module) {
    const ExportTable table(module);
    std::vector<std::string> all;
    for (size_t index = 0; index < table.directory->NumberOfNames; ++index)
        all.emplace_back(table.name(index));
    return all;
}

void removeExport(HMODULE module, std::string_view name) {
    const ExportTable table(module);
    DWORD &count = table.directory->NumberOfNames;
    for (size_t index = 0; index < count; ++index) {
        if (table.name(index) != name)
            continue;
        DWORD protection = 0;
        VirtualProtect(table.directory, table.size, PAGE_READWRITE, &protection);
        const size_t behind = count - index - 1;
        std::memmove(table.names() + index, table.names() + index + 1, behind * sizeof(uint32_t));
        std::memmove(table.ordinals() + index, table.ordinals() + index + 1, behind * sizeof(uint16_t));
        --count;
        VirtualProtect(table.directory, table.size, protection, &protection);
        return;
    }
}

} // namespace kal::test
