#include "simulator/printers/BidiAnswer.h"

#include <gtest/gtest.h>

using namespace simulator;

namespace {

BidiRule rule(Bytes prefix, Bytes answer) {
    BidiRule result;
    result.requestPrefix = std::move(prefix);
    result.answer = std::move(answer);
    return result;
}

const Bytes request{0xA5, 0, 3, 0x50, 4, 1};

TEST(BidiAnswer, HeadIsFiveBytesWithLengthAndFirstCommandBytes) {
    const std::vector rules{rule({0xA5}, {1, 2, 3})};
    EXPECT_EQ(answerBidi(rules, request).response, (Bytes{0xA5, 0, 5, 0x50, 4, 1, 2, 3}));
}

TEST(BidiAnswer, LengthOfLongAnswerIsHighByteFirst) {
    const std::vector rules{rule({0xA5}, Bytes(0x200, 9))};
    const auto response = answerBidi(rules, request).response;
    EXPECT_EQ(response[1], 0x02);
    EXPECT_EQ(response[2], 0x02);
}

TEST(BidiAnswer, LongestPrefixDecides) {
    const std::vector rules{rule({0xA5}, {1}), rule({0xA5, 0, 3, 0x50}, {2}), rule({0xA5, 0}, {3})};
    EXPECT_EQ(answerBidi(rules, request).response.back(), 2);
}

TEST(BidiAnswer, RequestWithoutRuleGetsItsCommandBytesBack) {
    EXPECT_EQ(answerBidi({}, request).response, (Bytes{0xA5, 0, 5, 0x50, 4, 0x50, 4, 1}));
}

TEST(BidiAnswer, PrefixLongerThanTheRequestDoesNotFit) {
    const std::vector rules{rule({0xA5, 0, 3, 0x50, 4, 1, 7}, {2})};
    EXPECT_NE(answerBidi(rules, request).response.back(), 2);
}

TEST(BidiAnswer, RequestShorterThanAHeadIsAnsweredWithAHeadAlone) {
    EXPECT_EQ(answerBidi({}, Bytes{0xA5}).response, (Bytes{0xA5, 0, 2, 0, 0}));
}

TEST(BidiAnswer, WholeResponseStaysAsItIs) {
    auto whole = rule({0xA5}, {7, 8});
    whole.isWhole = true;
    EXPECT_EQ(answerBidi(std::vector{whole}, request).response, (Bytes{7, 8}));
}

TEST(BidiAnswer, CodeAndDelayComeFromTheRule) {
    auto late = rule({0xA5}, {});
    late.code = 1460;
    late.delayMs = 30;
    const auto answer = answerBidi(std::vector{late}, request);
    EXPECT_EQ(answer.code, 1460u);
    EXPECT_EQ(answer.delayMs, 30u);
}

} // namespace
