// Resolves the imports of a system DLL at the first call instead of while the library is being loaded. Loading user32
// and advapi32 takes some forty times as long as loading the library, and many processes never need them.
//
// The linker's own helper reports failure by a structured exception, which must not leave an export. Here a function
// that cannot be resolved fails as any system call does: it returns what its callers check for. The next call tries
// again.
//
// A DLL that was loaded here stays loaded, as it does in every process that uses it: nothing may be freed while this
// library is being freed.

#include <windows.h>

#include <atomic>
#include <string_view>

extern "C" IMAGE_DOS_HEADER __ImageBase; // NOLINT(bugprone-reserved-identifier): the linker's name

namespace {

/// What the linker wrote at this distance from the module's beginning.
template <class Type>
Type *at(DWORD address) noexcept {
    return reinterpret_cast<Type *>(reinterpret_cast<char *>(&__ImageBase) + address);
}

/// For functions that return an error code.
INT_PTR WINAPI returnLastError() noexcept {
    const DWORD error = GetLastError();
    return static_cast<INT_PTR>(error == ERROR_SUCCESS ? ERROR_PROC_NOT_FOUND : error);
}

/// For functions that return FALSE or null and set the last error.
INT_PTR WINAPI returnNothing() noexcept {
    return 0;
}

/// The registry's functions (not RegisterClass and the like), and those that deal with the security of any object.
bool returnsErrorCode(std::string_view function) noexcept {
    return (function.starts_with("Reg") && !function.starts_with("Register")) || function.ends_with("SecurityInfo");
}

HMODULE loadedModule(const IMAGE_DELAYLOAD_DESCRIPTOR &library) noexcept {
    std::atomic_ref<HMODULE> module(*at<HMODULE>(library.ModuleHandleRVA));
    HMODULE loaded = module;
    if (loaded == nullptr) {
        loaded = LoadLibraryA(at<const char>(library.DllNameRVA));
        module = loaded;
    }
    return loaded;
}

} // namespace

extern "C" {

/// Called by the code that the linker makes for a delayed import, at each call until the slot has an address.
/// @return the function that is called then
FARPROC WINAPI __delayLoadHelper2( // NOLINT(bugprone-reserved-identifier): the linker's name
    const IMAGE_DELAYLOAD_DESCRIPTOR *library, FARPROC *slot) noexcept {
    const DWORD lastError = GetLastError();
    const auto *const slots = at<const FARPROC>(library->ImportAddressTableRVA);
    const auto *const names = at<const IMAGE_THUNK_DATA>(library->ImportNameTableRVA);
    const char *const name =
        at<const IMAGE_IMPORT_BY_NAME>(static_cast<DWORD>(names[slot - slots].u1.AddressOfData))->Name;
    const HMODULE module = loadedModule(*library);
    const FARPROC function = module == nullptr ? nullptr : GetProcAddress(module, name);
    if (function == nullptr) {
        return returnsErrorCode(name) ? &returnLastError : &returnNothing; // FARPROC is such a function
    }
    std::atomic_ref<FARPROC>(*slot).store(function);
    SetLastError(lastError);
    return function;
}
}
