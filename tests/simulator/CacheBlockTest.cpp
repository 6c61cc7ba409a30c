#include "simulator/printers/CachedData.h"

#include <gtest/gtest.h>

using namespace simulator;

namespace {

TEST(CacheBlock, WithoutHeadIsTheDataAlone) {
    PrinterConfiguration printer;
    printer.cache = {1, 2, 3};
    EXPECT_EQ(composeCache(printer), (Bytes{1, 2, 3}));
}

TEST(CacheBlock, WithHeadBeginsWithEightBytesAndTheLength) {
    PrinterConfiguration printer;
    printer.cache = Bytes(0x103, 7);
    printer.hasCacheHead = true;
    const auto block = composeCache(printer);
    ASSERT_EQ(block.size(), 0x10Bu);
    EXPECT_EQ(Bytes(block.begin(), block.begin() + 9), (Bytes{0xA5, 1, 3, 0, 0, 0, 0, 0, 7}));
}

TEST(CacheBlock, EmptyWithHeadIsEightBytes) {
    PrinterConfiguration printer;
    printer.hasCacheHead = true;
    EXPECT_EQ(composeCache(printer), (Bytes{0xA5, 0, 0, 0, 0, 0, 0, 0}));
}

} // namespace
