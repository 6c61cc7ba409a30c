#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace kal {

/// One product line: the brand code of its libraries and the registry key of its settings.
struct BrandRow {
    std::string_view code;           ///< the first two characters of the library's lower-cased file name
    std::string_view productKeyName; ///< its key under "Software\"
    uint32_t recognised;             ///< non-zero if the brand counts as recognised
};

/// All product lines, in search order.
[[nodiscard]] std::span<const BrandRow> brandTable() noexcept;

/// The key name for libraries without a product line.
inline constexpr std::string_view fallbackProductKeyName = "Veltro Tools";

/// The first row for the first two characters of a brand code, recognised or not; null if there is none.
[[nodiscard]] const BrandRow *findBrand(std::string_view brandCode) noexcept;

/// Whether any row for the first two characters of the code is recognised.
[[nodiscard]] bool isBrandRecognised(std::string_view brandCode) noexcept;

} // namespace kal
