#pragma once

#include <windows.h>

namespace kal {

/// The entry point of a loaded module by name, as a function of the given type; null, and the last error, when it lacks
/// it.
template <class Function>
[[nodiscard]] Function *entryPoint(HMODULE module, const char *name) noexcept {
    return reinterpret_cast<Function *>(reinterpret_cast<void *>(GetProcAddress(module, name)));
}

} // namespace kal
