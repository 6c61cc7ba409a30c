#pragma once

#include <windows.h>

namespace kal {

/// The module of this library.
[[nodiscard]] HMODULE libraryModule() noexcept;

} // namespace kal
