#pragma once

#include <windows.h>

namespace kal {

/// The entry point of a loaded module by name, as a function of the given type. If the module lacks it, null; the
/// thread's last error is then set.
template <class Function>
[[nodiscard]] Function *entryPoint(HMODULE module, const char *name) noexcept {
    return reinterpret_cast<Function *>(reinterpret_cast<void *>(GetProcAddress(module, name)));
}

} // namespace kal
