#include "api/AlertMask.h"

#include <gtest/gtest.h>

#include <random>

namespace kal::test {
namespace {

/// The service's bit for each of the client's, from bit 0; 0 for one that is dropped.
constexpr uint32_t serviceBits[32] = {
    0x00000001, 0x00000002, 0x00000004, 0x00000008, 0x00000010, 0x00000020, 0x00000040, 0x00000080, // 0x1 to 0x80
    0x00000100, 0x00000200, 0x00000000, 0x00000400, 0x00000800, 0x00001000, 0x00002000, 0x00004000, // 0x100 to 0x8000
    0x00080000, 0x00008000, 0x00010000, 0x00020000, 0x00040000, 0x00000000, 0x00100000, 0x00200000, // 0x10000 on
    0x00400000, 0x00800000, 0x01000000, 0x00000000, 0x00000000, 0x00000000, 0x00000000, 0x00000000, // 0x1000000 on
};

constexpr uint32_t exclusiveBit = 0x400000;

uint32_t expectedMask(uint32_t clientMask) {
    if ((clientMask & exclusiveBit) != 0)
        return 0x100000;
    uint32_t mask = 0;
    for (unsigned bit = 0; bit < 32; ++bit)
        if ((clientMask >> bit & 1) != 0)
            mask |= serviceBits[bit];
    return mask;
}

TEST(AlertMask, EmptyMaskStaysEmpty) {
    EXPECT_EQ(mapAlertMask(0), 0u);
}

TEST(AlertMask, EachBitAlone) {
    for (unsigned bit = 0; bit < 32; ++bit)
        EXPECT_EQ(mapAlertMask(1u << bit), serviceBits[bit]) << "bit " << bit;
}

TEST(AlertMask, AllBitsButTheExclusiveOne) {
    EXPECT_EQ(mapAlertMask(~exclusiveBit), 0x1EFFFFFu);
}

TEST(AlertMask, ExclusiveBitHidesEveryOther) {
    EXPECT_EQ(mapAlertMask(0xFFFFFFFF), 0x100000u);
    for (unsigned bit = 0; bit < 32; ++bit)
        EXPECT_EQ(mapAlertMask(exclusiveBit | 1u << bit), 0x100000u) << "bit " << bit;
}

TEST(AlertMask, EachPairOfBits) {
    for (unsigned first = 0; first < 32; ++first)
        for (unsigned second = 0; second < first; ++second) {
            const uint32_t mask = 1u << first | 1u << second;
            EXPECT_EQ(mapAlertMask(mask), expectedMask(mask)) << std::hex << mask;
        }
}

TEST(AlertMask, ManyCombinations) {
    std::mt19937 random(1);
    for (int round = 0; round < 100000; ++round) {
        const auto mask = static_cast<uint32_t>(random());
        ASSERT_EQ(mapAlertMask(mask), expectedMask(mask)) << std::hex << mask;
        ASSERT_EQ(mapAlertMask(mask & ~exclusiveBit), expectedMask(mask & ~exclusiveBit)) << std::hex << mask;
    }
}

} // namespace
} // namespace kal::test
