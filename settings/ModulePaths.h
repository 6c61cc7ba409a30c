#pragma once

#include <windows.h>

#include <cstdint>

namespace kal {

/// Room that every output buffer below must have, in bytes.
inline constexpr size_t pathBufferSize = 260;

/// The brand code of a module (up to four characters). @return false for a null buffer or when the module's file name
/// cannot be read.
[[nodiscard]] bool brandCodeOfModule(HMODULE module, char *brandCode);

/// The product root of a module. @return whether a product line has the module's brand code; false, too, for a null
/// buffer (nothing is written) and when the code cannot be read (nothing is written).
[[nodiscard]] bool productRootOfModule(HMODULE module, char *path);

/// The service root of a module; under the fallback product when no product line has its brand code.
/// @return false for a null buffer.
[[nodiscard]] bool serviceRootOfModule(HMODULE module, char *path);

/// A root of a module's settings tree by RootSelector. @return false for a null buffer.
[[nodiscard]] bool rootOfModule(HMODULE module, uint32_t selector, char *path);

} // namespace kal
