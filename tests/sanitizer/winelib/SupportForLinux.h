// Included before the sources of tests/support in a Winelib build.
#pragma once

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace winelib {

/// GetModuleFileNameA in the language of Linux, whose C++ library the tests' folders are made with.
inline DWORD moduleFileName(HMODULE module, char *name, DWORD size) {
    std::string found(size, '\0');
    found.resize(GetModuleFileNameA(module, found.data(), size));
    found.erase(0, found.find('\\')); // the drive, which is the root of Linux
    std::replace(found.begin(), found.end(), '\\', '/');
    *std::copy(found.begin(), found.end(), name) = '\0';
    return static_cast<DWORD>(found.size());
}

#ifdef __SANITIZE_ADDRESS__
extern "C" void *__asan_region_is_poisoned(void *begin, size_t size);
#endif

/// The double of comc.dll reads every argument that might be a text, however many bytes are behind it; here it ends
/// where the object ends.
inline size_t textLength(const char *text, size_t most) {
#ifdef __SANITIZE_ADDRESS__
    const auto *const end = static_cast<const char *>(__asan_region_is_poisoned(const_cast<char *>(text), most));
    if (end != nullptr) {
        most = static_cast<size_t>(end - text);
    }
#endif
    return strnlen(text, most);
}

} // namespace winelib

#define GetModuleFileNameA winelib::moduleFileName
#define strnlen winelib::textLength
