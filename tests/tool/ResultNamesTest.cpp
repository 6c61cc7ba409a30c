#include "tools/text/ResultNames.h"

#include <gtest/gtest.h>

using tool::describeResult;

TEST(DescribeResult, EveryResultOfTheInterfaceHasItsName) {
    const struct {
        int32_t result;
        const char *name;
    } rows[] = {{0, "KAL_OKAY"},
                {1, "KAL_FAIL"},
                {-8, "DEVERR_INVHANDLE"},
                {-10, "DEVERR_CONNECT"},
                {-14, "DEVERR_PROTOCOL"},
                {-17, "DEVERR_READFAIL"},
                {-18, "KAL_MOREDATA"},
                {-27, "KAL_PRNBUSY"},
                {-12, "KAL_REGISTRATION_REFUSED"},
                {-15, "KAL_INVALID_FUNCTION"}};
    for (const auto &row : rows) {
        EXPECT_EQ(describeResult(row.result).find(row.name + std::string(" (")), 0u) << row.name;
    }
}

TEST(DescribeResult, UnknownResultIsItsNumber) {
    EXPECT_EQ(describeResult(-99), "result -99: a result without a name");
}

TEST(DescribeResult, NumberAndMeaningFollowTheName) {
    EXPECT_EQ(describeResult(-27), "KAL_PRNBUSY (-27): the printer is busy");
}
