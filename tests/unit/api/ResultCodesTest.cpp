#include "api/ResultCodes.h"

#include "api/kal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

namespace kal::test {
namespace {

using testing::StartsWith;

/// Every code from 0 to 2000 and the ends of the range give what the rows say, all others what is left.
void expectTable(int32_t (*result)(uint32_t), const std::map<uint32_t, int32_t> &rows, int32_t otherwise) {
    const auto expect = [&](uint32_t code) {
        const auto row = rows.find(code);
        EXPECT_EQ(result(code), row == rows.end() ? otherwise : row->second) << "code " << code;
    };
    for (uint32_t code = 0; code <= 2000; ++code)
        expect(code);
    for (const uint32_t code : {0x10000u, 0x10006u, 0x7FFFFFFFu, 0x80000000u, 0x80070006u, 0xFFFFFFFFu})
        expect(code);
}

TEST(ResultCodes, Values) {
    EXPECT_EQ(KAL_OKAY, 0);
    EXPECT_EQ(KAL_FAIL, 1);
    EXPECT_EQ(DEVERR_INVHANDLE, -8);
    EXPECT_EQ(DEVERR_CONNECT, -10);
    EXPECT_EQ(DEVERR_PROTOCOL, -14);
    EXPECT_EQ(DEVERR_READFAIL, -17);
    EXPECT_EQ(KAL_MOREDATA, -18);
    EXPECT_EQ(KAL_PRNBUSY, -27);
}

TEST(ResultCodes, Standard) {
    expectTable(standardResult, {{0, 0}, {170, -27}, {1168, -10}, {6, -8}}, 1);
}

TEST(ResultCodes, Close) {
    expectTable(closeResult, {{0, 0}, {1, -8}}, 1);
}

TEST(ResultCodes, Write) {
    expectTable(writeResult, {{0, 0}, {50, -14}, {1168, -10}, {6, -8}}, 1);
}

TEST(ResultCodes, Plain) {
    expectTable(plainResult, {{0, 0}}, 1);
}

TEST(ResultCodes, Cache) {
    expectTable(cacheResult, {{0, 0}, {6, -8}}, 1);
}

TEST(ResultCodes, Bidi) {
    expectTable(bidiResult, {{0, 0}, {122, -18}, {6, -8}, {1, -27}, {1460, -17}}, 1);
}

TEST(ResultCodes, NotificationMode) {
    expectTable(notificationModeResult, {{1, -8}, {2, -10}}, 0);
}

TEST(ResultCodes, Names) {
    EXPECT_STREQ(resultName(0), "KAL_OKAY");
    EXPECT_STREQ(resultName(1), "KAL_FAIL");
    EXPECT_STREQ(resultName(-8), "DEVERR_INVHANDLE");
    EXPECT_STREQ(resultName(-10), "DEVERR_CONNECT");
    EXPECT_STREQ(resultName(-14), "DEVERR_PROTOCOL");
    EXPECT_STREQ(resultName(-17), "DEVERR_READFAIL");
    EXPECT_THAT(resultName(-18), StartsWith("KAL_MOREDATA"));
    EXPECT_STREQ(resultName(-27), "KAL_PRNBUSY");
}

TEST(ResultCodes, OtherResultsHaveNoName) {
    for (int32_t result = -100; result <= 100; ++result)
        switch (result) {
        case 0:
        case 1:
        case -8:
        case -10:
        case -14:
        case -17:
        case -18:
        case -27:
            break;
        default:
            EXPECT_EQ(resultName(result), nullptr) << result;
        }
}

} // namespace
} // namespace kal::test
