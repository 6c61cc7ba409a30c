#include "settings/BrandTable.h"

#include <algorithm>

namespace kal {

namespace {

// The code "or" is in two rows: libraries of the older line keep the place of their settings, and only the newer row
// makes the brand recognised.
// clang-format off
constexpr BrandRow rows[16] = {
    {"ka", "Kalder Print Services", 1},
    {"al", "Alvane Devices", 1},
    {"be", "Bellmont Office", 1},
    {"co", "Corvida Imaging", 1},
    {"de", "Deltine Systems", 1},
    {"fa", "Farrow Works", 1},
    {"gl", "Glenmoor Printing", 1},
    {"ha", "Halden Graphics", 1},
    {"in", "Inverra Output", 0},
    {"li", "Linsey Document", 1},
    {"mo", "Morrane Solutions", 1},
    {"or", "Orrin Classic", 0},
    {"or", "Orrin Print", 1},
    {"pe", "Pellan Business", 1},
    {"su", "Surrel Equipment", 1},
    {"te", "Tessaly Machines", 1},
};
// clang-format on

bool hasCode(const BrandRow &row, std::string_view brandCode) noexcept {
    return brandCode.substr(0, 2) == row.code;
}

} // namespace

std::span<const BrandRow> brandTable() noexcept {
    return rows;
}

const BrandRow *findBrand(std::string_view brandCode) noexcept {
    const auto *const row = std::ranges::find_if(rows, [&](const BrandRow &each) { return hasCode(each, brandCode); });
    return row == std::end(rows) ? nullptr : row;
}

bool isBrandRecognised(std::string_view brandCode) noexcept {
    return std::ranges::any_of(rows,
                               [&](const BrandRow &row) { return hasCode(row, brandCode) && row.recognised != 0; });
}

} // namespace kal
