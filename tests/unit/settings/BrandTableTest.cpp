#include "settings/BrandTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

using namespace kal;

namespace {

bool isTwoLowerCaseCharacters(std::string_view code) {
    return code.size() == 2 && std::ranges::none_of(code, [](char c) { return c >= 'A' && c <= 'Z'; });
}

/// The rows of the code that stands twice.
std::vector<BrandRow> rowsOfTheDoubleCode() {
    std::map<std::string_view, std::vector<BrandRow>> rows;
    for (const BrandRow &row : brandTable())
        rows[row.code].push_back(row);
    for (auto &[code, found] : rows)
        if (found.size() > 1)
            return found;
    return {};
}

} // namespace

TEST(BrandTable, HasSixteenRows) {
    EXPECT_EQ(brandTable().size(), 16u);
}

TEST(BrandTable, CodesAreTwoLowerCaseCharacters) {
    for (const BrandRow &row : brandTable())
        EXPECT_TRUE(isTwoLowerCaseCharacters(row.code)) << row.code;
}

TEST(BrandTable, ProductKeyNamesAreSingleNonEmptyNames) {
    for (const BrandRow &row : brandTable()) {
        EXPECT_FALSE(row.productKeyName.empty()) << row.code;
        EXPECT_EQ(row.productKeyName.find('\\'), std::string_view::npos) << row.code;
    }
}

TEST(BrandTable, ProductKeyNamesAreThoseOfTheirCodes) {
    const std::vector<std::pair<std::string_view, std::string_view>> expected = {
        {"ka", "Kalder Print Services"}, {"al", "Alvane Devices"},    {"be", "Bellmont Office"},
        {"co", "Corvida Imaging"},       {"de", "Deltine Systems"},   {"fa", "Farrow Works"},
        {"gl", "Glenmoor Printing"},     {"ha", "Halden Graphics"},   {"in", "Inverra Output"},
        {"li", "Linsey Document"},       {"mo", "Morrane Solutions"}, {"or", "Orrin Classic"},
        {"or", "Orrin Print"},           {"pe", "Pellan Business"},   {"su", "Surrel Equipment"},
        {"te", "Tessaly Machines"},
    };
    std::vector<std::pair<std::string_view, std::string_view>> found;
    for (const BrandRow &row : brandTable())
        found.emplace_back(row.code, row.productKeyName);
    EXPECT_EQ(found, expected);
}

TEST(BrandTable, SomeRowIsNotRecognised) {
    EXPECT_TRUE(std::ranges::any_of(brandTable(), [](const BrandRow &row) { return row.recognised == 0; }));
}

TEST(BrandTable, OneCodeStandsTwiceUnrecognisedFirst) {
    const auto rows = rowsOfTheDoubleCode();
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].recognised, 0u);
    EXPECT_NE(rows[1].recognised, 0u);
}

TEST(BrandTable, CodeZzIsNobodys) {
    EXPECT_EQ(findBrand("zz.d"), nullptr);
    EXPECT_FALSE(isBrandRecognised("zz.d"));
}

TEST(BrandTable, OwnLibraryIsRecognised) {
    EXPECT_NE(findBrand("kalc"), nullptr);
    EXPECT_TRUE(isBrandRecognised("kalc"));
}

TEST(BrandTable, FirstRowIsFoundWhateverItsFlag) {
    const auto rows = rowsOfTheDoubleCode();
    ASSERT_EQ(rows.size(), 2u);
    const BrandRow *found = findBrand(rows[0].code);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->productKeyName, rows[0].productKeyName);
    EXPECT_EQ(found->recognised, 0u);
}

TEST(BrandTable, RecognitionPassesOverTheUnrecognisedRow) {
    const auto rows = rowsOfTheDoubleCode();
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_TRUE(isBrandRecognised(rows[0].code));
}

TEST(BrandTable, CodeWithUnrecognisedRowsOnlyIsNotRecognised) {
    const auto doubled = rowsOfTheDoubleCode();
    const auto row = std::ranges::find_if(brandTable(), [&](const BrandRow &candidate) {
        return candidate.recognised == 0 && candidate.code != doubled.front().code;
    });
    ASSERT_NE(row, brandTable().end()) << "no code of unrecognised rows alone";
    EXPECT_FALSE(isBrandRecognised(row->code));
    EXPECT_NE(findBrand(row->code), nullptr);
}

TEST(BrandTable, LastRowIsFound) {
    const BrandRow &last = brandTable().back();
    EXPECT_NE(findBrand(last.code), nullptr);
    EXPECT_EQ(isBrandRecognised(last.code), std::ranges::any_of(brandTable(), [&](const BrandRow &row) {
                  return row.code == last.code && row.recognised != 0;
              }));
}

TEST(BrandTable, CodeOfFewerThanTwoCharactersMatchesNothing) {
    EXPECT_EQ(findBrand("k"), nullptr);
    EXPECT_EQ(findBrand(""), nullptr);
    EXPECT_FALSE(isBrandRecognised("k"));
    EXPECT_FALSE(isBrandRecognised(""));
}

TEST(BrandTable, OnlyTwoCharactersAreCompared) {
    EXPECT_EQ(findBrand("ka"), findBrand("ka\xFF\xFF"));
}
