#include "api/CacheBlock.h"

#include "tests/support/GuardedBuffer.h"

#include <gtest/gtest.h>

#include <string>

namespace kal::test {
namespace {

const std::string cacheHead = "\xA5HHHHHHH";

/// What is left of a block that ends at an inaccessible page.
std::string withoutHead(const std::string &block) {
    const GuardedBuffer buffer(block);
    const uint32_t length = dropCacheHead(buffer.data(), static_cast<uint32_t>(block.size()));
    return buffer.bytes().substr(0, length);
}

TEST(CacheBlock, HeadIsDropped) {
    EXPECT_EQ(withoutHead(cacheHead + "abc"), "abc");
}

TEST(CacheBlock, BlockWithoutHeadStaysAsItIs) {
    EXPECT_EQ(withoutHead("MODEL=abc"), "MODEL=abc");
}

TEST(CacheBlock, HeadAloneIsAnEmptyBlock) {
    EXPECT_EQ(withoutHead(cacheHead), "");
}

TEST(CacheBlock, BlockShorterThanAHeadStaysAsItIs) {
    for (size_t length = 0; length < cacheHead.size(); ++length)
        EXPECT_EQ(withoutHead(cacheHead.substr(0, length)), cacheHead.substr(0, length));
}

TEST(CacheBlock, OnlyTheFirstHeadIsDropped) {
    EXPECT_EQ(withoutHead(cacheHead + cacheHead), cacheHead);
}

TEST(CacheBlock, LongBlockMovesOverlapping) {
    std::string body;
    for (int number = 0; body.size() < 10000; ++number)
        body += std::to_string(number);
    EXPECT_EQ(withoutHead(cacheHead + body), body);
}

TEST(CacheBlock, NoBlockIsEmpty) {
    EXPECT_EQ(dropCacheHead(nullptr, 0), 0u);
}

} // namespace
} // namespace kal::test
