#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kal {

/// A root of the settings tree. Any other value means the temporary key.
enum RootSelector : uint32_t { localRoot = 0, sharedRoot = 1, temporaryRoot = 2 };

/// The brand code of a library: the first four characters of its file name (without folder), in lower case (ASCII). A
/// shorter name is used completely.
[[nodiscard]] std::string brandCodeOf(std::string_view libraryFileName);

/// "Software\" and the product key name of the brand, or the fallback name.
[[nodiscard]] std::string productRootOf(std::string_view brandCode);

/// The product root and "\Orx\".
[[nodiscard]] std::string serviceRootOf(std::string_view brandCode);

/// The local root (with the brand code), the shared root or the temporary key; all relative to HKEY_LOCAL_MACHINE.
[[nodiscard]] std::string rootOf(std::string_view brandCode, uint32_t selector);

} // namespace kal
