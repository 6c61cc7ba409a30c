#include "spy/ExportTable.h"

namespace spy {

namespace {

template <typename Type>
Type *at(HMODULE module, DWORD offset) noexcept {
    return reinterpret_cast<Type *>(reinterpret_cast<std::uintptr_t>(module) + offset);
}

class Writable {
  public:
    Writable(void *address, SIZE_T size) : address_(address), size_(size) {
        isWritable_ = VirtualProtect(address_, size_, PAGE_READWRITE, &before_) != 0;
    }
    ~Writable() {
        if (isWritable_) {
            DWORD ignored = 0;
            VirtualProtect(address_, size_, before_, &ignored);
        }
    }
    Writable(const Writable &) = delete;
    Writable &operator=(const Writable &) = delete;
    explicit operator bool() const noexcept { return isWritable_; }

  private:
    void *address_;
    SIZE_T size_;
    DWORD before_ = 0;
    bool isWritable_ = false;
};

const IMAGE_DATA_DIRECTORY &exportEntry(HMODULE module) noexcept {
    const auto *dos = at<IMAGE_DOS_HEADER>(module, 0);
    const auto *headers = at<IMAGE_NT_HEADERS>(module, static_cast<DWORD>(dos->e_lfanew));
    return headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
}

} // namespace

bool removeExports(HMODULE module, const std::function<bool(std::string_view)> &isToBeRemoved) {
    const auto &entry = exportEntry(module);
    auto *directory = at<IMAGE_EXPORT_DIRECTORY>(module, entry.VirtualAddress);
    auto *names = at<DWORD>(module, directory->AddressOfNames);
    auto *ordinals = at<WORD>(module, directory->AddressOfNameOrdinals);

    const Writable section(directory, entry.Size); // the tables lie behind the directory, in its entry's range
    if (!section) {
        return false;
    }
    DWORD kept = 0;
    for (DWORD index = 0; index < directory->NumberOfNames; ++index) {
        if (!isToBeRemoved(at<const char>(module, names[index]))) {
            names[kept] = names[index];
            ordinals[kept] = ordinals[index];
            ++kept;
        }
    }
    directory->NumberOfNames = kept;
    return true;
}

bool redirectExports(HMODULE module, const std::function<const void *(std::string_view)> &targetOf) {
    const auto &entry = exportEntry(module);
    const auto *directory = at<IMAGE_EXPORT_DIRECTORY>(module, entry.VirtualAddress);
    const auto *names = at<DWORD>(module, directory->AddressOfNames);
    const auto *ordinals = at<WORD>(module, directory->AddressOfNameOrdinals);
    auto *functions = at<DWORD>(module, directory->AddressOfFunctions);

    const Writable section(at<void>(module, entry.VirtualAddress), entry.Size);
    if (!section) {
        return false;
    }
    for (DWORD index = 0; index < directory->NumberOfNames; ++index) {
        if (const auto *target = targetOf(at<const char>(module, names[index]))) {
            const auto distance = reinterpret_cast<std::uintptr_t>(target) - reinterpret_cast<std::uintptr_t>(module);
            functions[ordinals[index]] = static_cast<DWORD>(distance);
        }
    }
    return true;
}

} // namespace spy
