// Every function that a loaded module imports by name, at load or delayed, with the slot that holds its address.
#pragma once

#include <cstddef>
#include <cstdint>

#include <windows.h>

namespace kal::test {

/// One imported function. The slot of a delayed import leads into the module itself until the function is resolved.
struct Import {
    const char *library;
    const char *name;
    void **slot;
    bool isDelayed;
};

class ImportTable {
  public:
    explicit ImportTable(HMODULE module)
        : base_(reinterpret_cast<char *>(module)),
          headers_(at<IMAGE_NT_HEADERS64>(static_cast<DWORD>(at<IMAGE_DOS_HEADER>(0)->e_lfanew))->OptionalHeader) {}

    /// Visits the libraries: visit(name, isDelayed).
    template <class Visit>
    void eachLibrary(Visit visit) const {
        for (const auto *library = first<IMAGE_IMPORT_DESCRIPTOR>(IMAGE_DIRECTORY_ENTRY_IMPORT);
             library != nullptr && library->Name != 0; ++library)
            visit(at<const char>(library->Name), false);
        for (const auto *library = first<IMAGE_DELAYLOAD_DESCRIPTOR>(IMAGE_DIRECTORY_ENTRY_DELAY_IMPORT);
             library != nullptr && library->DllNameRVA != 0; ++library)
            visit(at<const char>(library->DllNameRVA), true);
    }

    /// Visits the functions: visit(Import).
    template <class Visit>
    void eachFunction(Visit visit) const {
        for (const auto *library = first<IMAGE_IMPORT_DESCRIPTOR>(IMAGE_DIRECTORY_ENTRY_IMPORT);
             library != nullptr && library->Name != 0; ++library)
            eachOf(library->Name, library->OriginalFirstThunk, library->FirstThunk, false, visit);
        for (const auto *library = first<IMAGE_DELAYLOAD_DESCRIPTOR>(IMAGE_DIRECTORY_ENTRY_DELAY_IMPORT);
             library != nullptr && library->DllNameRVA != 0; ++library)
            eachOf(library->DllNameRVA, library->ImportNameTableRVA, library->ImportAddressTableRVA, true, visit);
    }

    bool isUnresolved(const Import &import) const {
        const auto *const address = static_cast<const char *>(*import.slot);
        return import.isDelayed && address >= base_ && address < base_ + headers_.SizeOfImage;
    }

    /// Writes the address of a delayed import into its slot, as the module's first call would. Otherwise that call
    /// would overwrite what a test has put there.
    void resolve(const Import &import) const {
        if (!isUnresolved(import))
            return;
        HMODULE library = GetModuleHandleA(import.library);
        if (library == nullptr)
            library = LoadLibraryA(import.library);
        write(import.slot, reinterpret_cast<void *>(GetProcAddress(library, import.name)));
    }

    /// Writes an address into a slot, whose page is normally read-only.
    static void write(void **slot, void *address) {
        DWORD protection = 0;
        VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection);
        *slot = address;
        VirtualProtect(slot, sizeof *slot, protection, &protection);
    }

  private:
    template <class Type>
    Type *at(DWORD address) const {
        return reinterpret_cast<Type *>(base_ + address);
    }

    template <class Type>
    const Type *first(size_t directory) const {
        const DWORD address = headers_.DataDirectory[directory].VirtualAddress;
        return address == 0 ? nullptr : at<const Type>(address);
    }

    template <class Visit>
    void eachOf(DWORD library, DWORD names, DWORD slots, bool isDelayed, Visit visit) const {
        const auto *named = at<const IMAGE_THUNK_DATA64>(names);
        auto **slot = at<void *>(slots);
        for (; named->u1.AddressOfData != 0; ++named, ++slot) {
            if (!IMAGE_SNAP_BY_ORDINAL64(named->u1.Ordinal)) {
                const auto *const import = at<const IMAGE_IMPORT_BY_NAME>(static_cast<DWORD>(named->u1.AddressOfData));
                visit(Import{at<const char>(library), reinterpret_cast<const char *>(import->Name), slot, isDelayed});
            }
        }
    }

    char *base_;
    const IMAGE_OPTIONAL_HEADER64 &headers_;
};

} // namespace kal::test
