#include "tools/text/HexText.h"

#include <gtest/gtest.h>

using tool::hexBytes;
using tool::hexDump;
using tool::parseHexBytes;

namespace {

using Bytes = std::vector<uint8_t>;

} // namespace

TEST(ParseHexBytes, BytesAreReadInEitherCase) {
    EXPECT_EQ(parseHexBytes("a5FF00"), (Bytes{0xA5, 0xFF, 0x00}));
}

TEST(ParseHexBytes, SeparatorsStandBetweenBytes) {
    EXPECT_EQ(parseHexBytes(" A5 00:03,50-04\n"), (Bytes{0xA5, 0x00, 0x03, 0x50, 0x04}));
}

TEST(ParseHexBytes, NothingIsNoBytes) {
    EXPECT_EQ(parseHexBytes(""), Bytes{});
}

TEST(ParseHexBytes, HalfAByteIsRefused) {
    EXPECT_EQ(parseHexBytes("A"), std::nullopt);
    EXPECT_EQ(parseHexBytes("A5 0"), std::nullopt);
    EXPECT_EQ(parseHexBytes("A 5"), std::nullopt);
}

TEST(ParseHexBytes, OtherCharactersAreRefused) {
    for (const char *text : {"0x", "G0", "0g", "A5;00", "\xE4\xE4"}) {
        EXPECT_EQ(parseHexBytes(text), std::nullopt) << text;
    }
}

TEST(HexBytes, OneBlankStandsBetweenBytes) {
    EXPECT_EQ(hexBytes(Bytes{0xA5, 0x00, 0x0F}), "A5 00 0F");
    EXPECT_EQ(hexBytes(Bytes{}), "");
}

TEST(HexDump, FullLineShowsOffsetBytesAndCharacters) {
    Bytes bytes;
    for (char character = 'A'; character < 'A' + 16; ++character) {
        bytes.push_back(static_cast<uint8_t>(character));
    }
    EXPECT_EQ(hexDump(bytes), "00000000  41 42 43 44 45 46 47 48  49 4A 4B 4C 4D 4E 4F 50  |ABCDEFGHIJKLMNOP|\n");
}

TEST(HexDump, SecondLineIsShortAndAligned) {
    Bytes bytes(17, 0x20);
    bytes[16] = 0x7F;
    const std::string dump = hexDump(bytes);
    EXPECT_EQ(dump.substr(dump.find('\n') + 1), "00000010  7F                                                |.|\n");
}

TEST(HexDump, CharactersThatCannotBeShownArePoints) {
    EXPECT_NE(hexDump(Bytes{0x00, 0x1F, 0x20, 0x7E, 0x7F, 0xFF}).find("|.. ~..|"), std::string::npos);
}

TEST(HexDump, NothingIsNoLine) {
    EXPECT_EQ(hexDump(Bytes{}), "");
}
