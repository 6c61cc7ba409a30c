#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kal {

/// Which root of the settings tree; any value but the first two means the temporary key.
enum RootSelector : uint32_t { localRoot = 0, sharedRoot = 1, temporaryRoot = 2 };

/// The brand code of a library: the first four characters (fewer when the name is shorter) of its file name without
/// folder, in lower case (ASCII).
[[nodiscard]] std::string brandCodeOf(std::string_view libraryFileName);

/// "Software\" and the product key name of the brand, or the fallback's.
[[nodiscard]] std::string productRootOf(std::string_view brandCode);

/// The product root and "\Orx\".
[[nodiscard]] std::string serviceRootOf(std::string_view brandCode);

/// The local root (with the brand code), the shared root or the temporary key; all relative to HKEY_LOCAL_MACHINE.
[[nodiscard]] std::string rootOf(std::string_view brandCode, uint32_t selector);

} // namespace kal
