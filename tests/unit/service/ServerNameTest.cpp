#include "service/ServerName.h"

#include <gtest/gtest.h>

namespace kal::test {
namespace {

constexpr const char *computer = "Atelier-7";

class ThisMachine : public testing::TestWithParam<const char *> {};

TEST_P(ThisMachine, IsKnownByItsName) {
    EXPECT_TRUE(isThisMachine(GetParam(), computer));
}

INSTANTIATE_TEST_SUITE_P(EveryForm, ThisMachine,
                         testing::Values("", "Atelier-7", "atelier-7", "ATELIER-7", "\\\\Atelier-7", "\\\\aTELIER-7"));

class OtherMachine : public testing::TestWithParam<const char *> {};

TEST_P(OtherMachine, IsNotThisOne) {
    EXPECT_FALSE(isThisMachine(GetParam(), computer));
}

INSTANTIATE_TEST_SUITE_P(EveryForm, OtherMachine,
                         testing::Values("Atelier-8", "Atelier-", "Atelier-77", "\\Atelier-7", "\\\\Atelier-77",
                                         "\\\\\\Atelier-7", "A\\telier-7", "\\\\", "\\", "Atelier\r7", "@telier-7",
                                         "[telier-7"));

TEST(ServerName, WithOneBackslashIsNeverThisMachine) {
    EXPECT_FALSE(isThisMachine("\\x", "\\x"));
    EXPECT_FALSE(isThisMachine("x\\", "x\\"));
    EXPECT_TRUE(isThisMachine("xy\\", "xy\\"));
}

TEST(ServerName, IsNotComparedWhenTheComputersNameIsUnknown) {
    EXPECT_FALSE(isThisMachine("Atelier-7", nullptr));
    EXPECT_TRUE(isThisMachine("", nullptr));
}

TEST(ServerName, OnlyLettersHaveTwoCases) {
    EXPECT_TRUE(isThisMachine("AZ", "az"));
    EXPECT_FALSE(isThisMachine("@", "`"));
    EXPECT_FALSE(isThisMachine("[", "{"));
}

TEST(ServerName, GainsTheBackslashesThatItLacks) {
    EXPECT_EQ(remoteNameOf("Atelier-7"), "\\\\Atelier-7");
    EXPECT_EQ(remoteNameOf("\\\\Atelier-7"), "\\\\Atelier-7");
    EXPECT_EQ(remoteNameOf("\\Atelier-7"), "\\Atelier-7");
    EXPECT_EQ(remoteNameOf("A\\telier-7"), "A\\telier-7");
    EXPECT_EQ(remoteNameOf("At\\elier-7"), "\\\\At\\elier-7");
}

TEST(ServerName, EndsWhereItEndsAndNotAtAZero) {
    EXPECT_EQ(remoteNameOf(std::string_view("A\\telier").substr(0, 1)), "\\\\A");
}

} // namespace
} // namespace kal::test
