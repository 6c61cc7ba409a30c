/// The export directory of a loaded module, as GetProcAddress reads it.
#pragma once

#include <windows.h>

#include <cstdint>

namespace kal {

/// The tables of a module's export directory, writable while this object exists. They follow the directory, in the
/// range of its entry.
class ExportTable {
  public:
    explicit ExportTable(HMODULE module) noexcept : module_(module) {
        const auto *const dos = at<IMAGE_DOS_HEADER>(0);
        const auto *const headers = at<IMAGE_NT_HEADERS>(static_cast<DWORD>(dos->e_lfanew));
        const auto &entry = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
        directory_ = at<IMAGE_EXPORT_DIRECTORY>(entry.VirtualAddress);
        size_ = entry.Size;
        isWritable_ = VirtualProtect(directory_, size_, PAGE_READWRITE, &before_) != 0;
    }
    ~ExportTable() {
        if (isWritable_) {
            DWORD ignored = 0;
            VirtualProtect(directory_, size_, before_, &ignored);
        }
    }
    ExportTable(const ExportTable &) = delete;
    ExportTable &operator=(const ExportTable &) = delete;

    /// Removes names, so that GetProcAddress no longer finds them while the module is loaded. The order of the others
    /// is kept, because they are searched by bisection. @return whether the directory could be written
    template <class Predicate>
    bool remove(Predicate isToBeRemoved) const {
        if (!isWritable_) {
            return false;
        }
        auto *const names = at<DWORD>(directory_->AddressOfNames);
        auto *const ordinals = at<WORD>(directory_->AddressOfNameOrdinals);
        DWORD kept = 0;
        for (DWORD index = 0; index < directory_->NumberOfNames; ++index) {
            if (!isToBeRemoved(at<const char>(names[index]))) {
                names[kept] = names[index];
                ordinals[kept] = ordinals[index];
                ++kept;
            }
        }
        directory_->NumberOfNames = kept;
        return true;
    }

    /// Redirects names to other functions of the same module; for null, the name is unchanged.
    template <class TargetOf>
    bool redirect(TargetOf targetOf) const {
        if (!isWritable_) {
            return false;
        }
        const auto *const names = at<DWORD>(directory_->AddressOfNames);
        const auto *const ordinals = at<WORD>(directory_->AddressOfNameOrdinals);
        auto *const functions = at<DWORD>(directory_->AddressOfFunctions);
        for (DWORD index = 0; index < directory_->NumberOfNames; ++index) {
            if (const void *const target = targetOf(at<const char>(names[index]))) {
                const auto distance = reinterpret_cast<uintptr_t>(target) - reinterpret_cast<uintptr_t>(module_);
                functions[ordinals[index]] = static_cast<DWORD>(distance);
            }
        }
        return true;
    }

  private:
    template <class Type>
    [[nodiscard]] Type *at(DWORD offset) const noexcept {
        return reinterpret_cast<Type *>(reinterpret_cast<uintptr_t>(module_) + offset);
    }

    HMODULE module_;
    IMAGE_EXPORT_DIRECTORY *directory_ = nullptr;
    DWORD size_ = 0;
    DWORD before_ = 0;
    bool isWritable_ = false;
};

} // namespace kal
