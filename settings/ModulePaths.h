#pragma once

#include <windows.h>

#include <cstdint>

namespace kal {

/// Minimum size in bytes of every output buffer below.
inline constexpr size_t pathBufferSize = 260;

/// The brand code of a module (up to four characters). @return false for a null buffer, or if the module's file name
/// cannot be read.
[[nodiscard]] bool brandCodeOfModule(HMODULE module, char *brandCode);

/// The product root of a module. @return whether a product line has the module's brand code. For a null buffer, or if
/// the code cannot be read, returns false and writes nothing.
[[nodiscard]] bool productRootOfModule(HMODULE module, char *path);

/// The service root of a module; that of the fallback product if no product line has its brand code.
/// @return false for a null buffer.
[[nodiscard]] bool serviceRootOfModule(HMODULE module, char *path);

/// A root of a module's settings, by RootSelector. @return false for a null buffer.
[[nodiscard]] bool rootOfModule(HMODULE module, uint32_t selector, char *path);

} // namespace kal
