#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace kal {

/// One product line: which library names belong to it and where its settings lie.
struct BrandRow {
    std::string_view code;           ///< the first two characters of the library's lower-cased file name
    std::string_view productKeyName; ///< its key under "Software\"
    uint32_t recognised;             ///< non-zero when the brand counts as recognised
};

/// All product lines, in the order in which they are searched.
[[nodiscard]] std::span<const BrandRow> brandTable() noexcept;

/// The key name for a library that belongs to no product line.
inline constexpr std::string_view fallbackProductKeyName = "Veltro Tools";

/// The first row for a brand code's first two characters, whatever its flag; null when there is none.
[[nodiscard]] const BrandRow *findBrand(std::string_view brandCode) noexcept;

/// Whether some row for the code's first two characters is recognised; rows that are not are passed over.
[[nodiscard]] bool isBrandRecognised(std::string_view brandCode) noexcept;

} // namespace kal
