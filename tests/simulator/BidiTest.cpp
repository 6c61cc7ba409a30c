#include "tests/simulator/LoadedSimulator.h"

#include <gtest/gtest.h>

using namespace kal::test;

namespace {

struct SimulatorBidi : testing::Test {
    LoadedSimulator simulator{R"({"printers":[{"handle":1,"transport":"USB1","port":"p","device":"","bidi":[
        {"request":"A5 00 03 50 04","answerText":"toner"},
        {"request":"A5 00 02","code":1460,"delayMs":60},
        {"request":"01","response":"09 08"}]}]})"};
    uint8_t response[32] = {};
    uint32_t length = 99;

    uint32_t exchange(const std::string &request, uint32_t size = 32,
                      const char *entryPoint = "OrxExchangeBidiPrinter") {
        return simulator.call<uint32_t(uint32_t, uint32_t, const void *, uint32_t, void *, uint32_t, uint32_t *)>(
            entryPoint, 7u, 1u, request.data(), static_cast<uint32_t>(request.size()), response, size, &length);
    }
};

const std::string tonerRequest("\xA5\x00\x03\x50\x04\x01", 6);

TEST_F(SimulatorBidi, AnswerComesBehindAHeadOfFiveBytes) {
    simulator.open(1);
    ASSERT_EQ(exchange(tonerRequest), 0u);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(response), length), std::string("\xA5\x00\x07\x50\x04toner", 10));
}

TEST_F(SimulatorBidi, OtherExchangeAnswersTheSame) {
    simulator.open(1);
    ASSERT_EQ(exchange(tonerRequest, 32, "OrxExchangeNpaPrinter"), 0u);
    EXPECT_EQ(length, 10u);
}

TEST_F(SimulatorBidi, TooSmallABufferTellsTheLength) {
    simulator.open(1);
    EXPECT_EQ(exchange(tonerRequest, 9), 122u);
    EXPECT_EQ(length, 10u);
    EXPECT_EQ(response[0], 0);
}

TEST_F(SimulatorBidi, ConfiguredCodeComesAfterItsDelay) {
    simulator.open(1);
    const auto before = nowMs();
    EXPECT_EQ(exchange(std::string("\xA5\x00\x02\x50\x04", 5)), 1460u);
    EXPECT_GE(nowMs() - before, 50u);
    EXPECT_EQ(length, 0u);
}

TEST_F(SimulatorBidi, WholeResponseComesWithoutHead) {
    simulator.open(1);
    ASSERT_EQ(exchange("\x01"), 0u);
    EXPECT_EQ(length, 2u);
    EXPECT_EQ(response[0], 9);
}

TEST_F(SimulatorBidi, EmptyRequestIsAnInvalidParameter) {
    simulator.open(1);
    EXPECT_EQ(exchange(""), 87u);
}

TEST_F(SimulatorBidi, ClosedHandleIsInvalid) {
    EXPECT_EQ(exchange(tonerRequest), 6u);
}

TEST_F(SimulatorBidi, RequestsAreLogged) {
    simulator.open(1);
    exchange(tonerRequest);
    EXPECT_NE(readFile(simulator.spool() / "simulator.log").find("bidi request A5 00 03 50 04 01, code 0"),
              std::string::npos);
}

} // namespace
