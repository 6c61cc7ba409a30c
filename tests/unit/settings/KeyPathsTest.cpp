#include "settings/KeyPaths.h"

#include "settings/BrandTable.h"

#include <gtest/gtest.h>

#include <string>

using namespace kal;

namespace {

std::string productOf(std::string_view brandCode) {
    return "Software\\" + std::string(findBrand(brandCode)->productKeyName);
}

} // namespace

TEST(BrandCode, IsTheFirstFourCharactersOfTheFileName) {
    EXPECT_EQ(brandCodeOf("C:\\Program Files\\Product\\kalclient.dll"), "kalc");
}

TEST(BrandCode, IsLowerCase) {
    EXPECT_EQ(brandCodeOf("C:\\PRODUCT\\KALCLIENT.DLL"), "kalc");
}

TEST(BrandCode, OnlyAsciiLettersAreLowered) {
    EXPECT_EQ(brandCodeOf("C:\\@Z[\xC4.dll"), "@z[\xC4");
}

TEST(BrandCode, OfAShortNameHasPartOfTheExtension) {
    EXPECT_EQ(brandCodeOf("C:\\zz.dll"), "zz.d");
}

TEST(BrandCode, OfANameShorterThanFourCharactersIsThatLong) {
    EXPECT_EQ(brandCodeOf("C:\\ab"), "ab");
    EXPECT_EQ(brandCodeOf("C:\\K"), "k");
}

TEST(BrandCode, OfFourCharactersIsAllOfThem) {
    EXPECT_EQ(brandCodeOf("C:\\abcd"), "abcd");
}

TEST(BrandCode, OfAnEmptyNameIsEmpty) {
    EXPECT_EQ(brandCodeOf(""), "");
}

TEST(BrandCode, BehindAClosingBackslashIsEmpty) {
    EXPECT_EQ(brandCodeOf("C:\\folder\\"), "");
}

TEST(BrandCode, FolderNamesDoNotCount) {
    EXPECT_EQ(brandCodeOf("C:\\kalclient.dll\\zz.dll"), "zz.d");
}

TEST(KeyPaths, ProductRootIsThatOfTheFirstMatchingRow) {
    for (const BrandRow &row : brandTable())
        EXPECT_EQ(productRootOf(std::string(row.code) + "xx"), productOf(row.code)) << row.code;
}

TEST(KeyPaths, ProductRootWithoutMatchIsTheFallback) {
    EXPECT_EQ(productRootOf("zz.d"), "Software\\Veltro Tools");
}

TEST(KeyPaths, ServiceRootLiesUnderTheProduct) {
    EXPECT_EQ(serviceRootOf("kalc"), productOf("ka") + "\\Orx\\");
    EXPECT_EQ(serviceRootOf("zz.d"), "Software\\Veltro Tools\\Orx\\");
}

TEST(KeyPaths, LocalRootEndsInTheBrandCode) {
    EXPECT_EQ(rootOf("kalc", 0), productOf("ka") + "\\Orx\\Local\\kalc\\");
}

TEST(KeyPaths, LocalRootOfAShortCodeEndsInTheShortCode) {
    EXPECT_EQ(rootOf("ab", 0).substr(rootOf("ab", 0).find("\\Orx\\")), "\\Orx\\Local\\ab\\");
}

TEST(KeyPaths, SharedRootHasNoBrandCode) {
    EXPECT_EQ(rootOf("kalc", 1), productOf("ka") + "\\Orx\\Shared\\");
    EXPECT_EQ(rootOf("kalx", 1), rootOf("kalc", 1));
}

TEST(KeyPaths, AnyOtherSelectorIsTheTemporaryKey) {
    EXPECT_EQ(rootOf("kalc", 2), "Software\\VeltroTemp\\temp");
    EXPECT_EQ(rootOf("zz.d", 2), rootOf("kalc", 2));
    EXPECT_EQ(rootOf("kalc", 3), rootOf("kalc", 2));
    EXPECT_EQ(rootOf("kalc", 0xFFFFFFFF), rootOf("kalc", 2));
}
