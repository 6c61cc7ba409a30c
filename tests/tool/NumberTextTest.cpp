#include "tools/text/NumberText.h"

#include <gtest/gtest.h>

using tool::hexNumber;
using tool::parseNumber;

TEST(ParseNumber, DecimalIsRead) {
    EXPECT_EQ(parseNumber("24577", 0xFFFF), 24577u);
}

TEST(ParseNumber, HexadecimalNeedsItsPrefix) {
    EXPECT_EQ(parseNumber("0x6001", 0xFFFF), 0x6001u);
    EXPECT_EQ(parseNumber("0X6aF1", 0xFFFF), 0x6AF1u);
    EXPECT_EQ(parseNumber("6aF1", 0xFFFF), std::nullopt);
}

TEST(ParseNumber, LeadingZeroIsDecimal) {
    EXPECT_EQ(parseNumber("010", 0xFFFF), 10u);
}

TEST(ParseNumber, LimitIsTheLastNumberTaken) {
    EXPECT_EQ(parseNumber("65535", 0xFFFF), 65535u);
    EXPECT_EQ(parseNumber("65536", 0xFFFF), std::nullopt);
    EXPECT_EQ(parseNumber("4294967295", 0xFFFFFFFF), 0xFFFFFFFFu);
    EXPECT_EQ(parseNumber("4294967296", 0xFFFFFFFF), std::nullopt);
}

TEST(ParseNumber, MoreDigitsThanAnyIntegerHasAreNoNumber) {
    EXPECT_EQ(parseNumber("99999999999999999999999999", 0xFFFFFFFF), std::nullopt);
}

TEST(ParseNumber, SignsBlanksAndRestsAreNoNumber) {
    for (const char *text : {"", "-1", "+1", " 1", "1 ", "1x", "0x", "0x-1", "x1", "1.5"}) {
        EXPECT_EQ(parseNumber(text, 0xFFFFFFFF), std::nullopt) << "'" << text << "'";
    }
}

TEST(HexNumber, WidthIsFilledAndNeverCut) {
    EXPECT_EQ(hexNumber(3, 4), "0x0003");
    EXPECT_EQ(hexNumber(0x6A01, 4), "0x6A01");
    EXPECT_EQ(hexNumber(0xFFFFFFFF, 4), "0xFFFFFFFF");
    EXPECT_EQ(hexNumber(0, 1), "0x0");
    EXPECT_EQ(hexNumber(0, 0), "0x0");
}
