#include "tests/contract/RegisteredApplication.h"
#include "tests/contract/enumeration/NoWorkerThread.h"

namespace kal::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class KalGetCacheTest : public RegisteredApplication {
  protected:
    /// The service's next block: the bytes it writes, and the length it reports for them.
    void blockIs(const std::string &bytes, uint32_t reportedLength, uint32_t code = 0) {
        service.does("OrxGetCachePrinter", [=](const ServiceCall &call) {
            std::memcpy(call.pointer<char>(2), bytes.data(), std::min<size_t>(bytes.size(), call.number(3)));
            *call.pointer<uint32_t>(4) = reportedLength;
            return code;
        });
    }
    void blockIs(const std::string &bytes) { blockIs(bytes, static_cast<uint32_t>(bytes.size())); }

    int32_t get(GuardedBuffer &buffer) {
        return KalGetCache(0, 5, buffer.data(), static_cast<uint32_t>(buffer.size()), &length);
    }

    uint32_t length = 0xCCCCCCCC;
};

const std::string head = "\xA5"
                         "1234567";

TEST_F(KalGetCacheTest, AsksWithTheCallersBuffer) {
    GuardedBuffer buffer(16);
    EXPECT_EQ(KalGetCache(3, 0x8005, buffer.data(), 16, &length), KAL_OKAY);
    EXPECT_THAT(service.operations(), ElementsAre("OrxGetCachePrinter"));
    const auto call = service.lastCall("OrxGetCachePrinter");
    EXPECT_EQ(call.number(0), 101u);
    EXPECT_EQ(call.number(1), 0x8005u);
    EXPECT_EQ(call.pointer<uint8_t>(2), buffer.data());
    EXPECT_EQ(call.number(3), 16u);
    EXPECT_EQ(call.pointer<uint32_t>(4), &length);
    EXPECT_NE(call.thread, GetCurrentThreadId());
}

TEST_F(KalGetCacheTest, BlockWithoutAHeadComesAsItIs) {
    blockIs("0123456789");
    GuardedBuffer buffer(10);
    EXPECT_EQ(get(buffer), KAL_OKAY);
    EXPECT_EQ(length, 10u);
    EXPECT_EQ(buffer.bytes(), "0123456789");
}

TEST_F(KalGetCacheTest, HeadIsDropped) {
    blockIs(head + "abcdefghijkl");
    GuardedBuffer buffer(20);
    EXPECT_EQ(get(buffer), KAL_OKAY);
    EXPECT_EQ(length, 12u);
    EXPECT_EQ(buffer.bytes().substr(0, 12), "abcdefghijkl");
}

TEST_F(KalGetCacheTest, BytesBehindTheBlockStay) {
    blockIs(head + "ab");
    GuardedBuffer buffer(20, 'x');
    get(buffer);
    EXPECT_EQ(length, 2u);
    EXPECT_EQ(buffer.bytes().substr(10), "xxxxxxxxxx");
}

TEST_F(KalGetCacheTest, HeadAloneIsAnEmptyBlock) {
    blockIs(head);
    GuardedBuffer buffer(8);
    EXPECT_EQ(get(buffer), KAL_OKAY);
    EXPECT_EQ(length, 0u);
}

TEST_F(KalGetCacheTest, OneByteBehindTheHead) {
    blockIs(head + "z");
    GuardedBuffer buffer(9);
    EXPECT_EQ(get(buffer), KAL_OKAY);
    EXPECT_EQ(length, 1u);
    EXPECT_EQ(buffer.bytes()[0], 'z');
}

class KalGetCacheShortTest : public KalGetCacheTest, public testing::WithParamInterface<uint32_t> {};

TEST_P(KalGetCacheShortTest, BlockShorterThanItsHeadComesAsItIs) {
    const std::string bytes = head.substr(0, GetParam());
    blockIs(bytes);
    GuardedBuffer buffer(GetParam());
    EXPECT_EQ(get(buffer), KAL_OKAY);
    EXPECT_EQ(length, GetParam());
    EXPECT_EQ(buffer.bytes(), bytes);
}

INSTANTIATE_TEST_SUITE_P(Lengths, KalGetCacheShortTest, testing::Values(1u, 2u, 6u, 7u));

TEST_F(KalGetCacheTest, HeadByteInAnEmptyBlockMeansNothing) {
    blockIs(head + "abcd", 0);
    GuardedBuffer buffer(12);
    EXPECT_EQ(get(buffer), KAL_OKAY);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(buffer.bytes(), head + "abcd");
}

TEST_F(KalGetCacheTest, LengthBeyondTheBufferIsCutBeforeTheHeadIsDropped) {
    blockIs(head + "abcdefgh", 1000000);
    GuardedBuffer buffer(16);
    EXPECT_EQ(get(buffer), KAL_OKAY);
    EXPECT_EQ(length, 8u);
    EXPECT_EQ(buffer.bytes().substr(0, 8), "abcdefgh");
}

TEST_F(KalGetCacheTest, HighestLengthIsCut) {
    blockIs(head + "abcdefgh", 0xFFFFFFFF);
    GuardedBuffer buffer(16);
    EXPECT_EQ(get(buffer), KAL_OKAY);
    EXPECT_EQ(length, 8u);
}

TEST_F(KalGetCacheTest, LengthBeyondTheBufferIsCutWithoutAHeadToo) {
    blockIs("0123456789abcdef", 17);
    GuardedBuffer buffer(16);
    EXPECT_EQ(get(buffer), KAL_OKAY);
    EXPECT_EQ(length, 16u);
    EXPECT_EQ(buffer.bytes(), "0123456789abcdef");
}

TEST_F(KalGetCacheTest, EmptyBufferIsNotRead) {
    blockIs("", 100);
    GuardedBuffer buffer(0);
    EXPECT_EQ(get(buffer), KAL_OKAY);
    EXPECT_EQ(length, 0u);
}

TEST_F(KalGetCacheTest, LargeBlockMovesOverlapping) {
    std::string block(100000, '\0');
    for (size_t index = 0; index < block.size(); ++index)
        block[index] = static_cast<char>(index * 7 + index / 251);
    blockIs(head + block);
    GuardedBuffer buffer(block.size() + 8);
    EXPECT_EQ(get(buffer), KAL_OKAY);
    EXPECT_EQ(length, block.size());
    EXPECT_EQ(buffer.bytes().substr(0, block.size()), block);
}

struct CacheResult {
    uint32_t code;
    int32_t result;
};

void PrintTo(const CacheResult &row, std::ostream *stream) {
    *stream << "code " << row.code;
}

class KalGetCacheCodeTest : public KalGetCacheTest, public testing::WithParamInterface<CacheResult> {};

TEST_P(KalGetCacheCodeTest, CodeOfTheServiceIsMappedAndTheBlockLeft) {
    blockIs(head + "abcd", 12, GetParam().code);
    GuardedBuffer buffer(12);
    EXPECT_EQ(get(buffer), GetParam().result);
    EXPECT_EQ(length, 12u);
    EXPECT_EQ(buffer.bytes(), head + "abcd");
    EXPECT_THAT(machine.logTexts(),
                ElementsAre("+KalGetCache() handle =5", "+KalGetCacheRunnable()", "-KalGetCacheRunnable()",
                            "-KalGetCache() handle =5 rc=" + std::to_string(GetParam().result)));
}

INSTANTIATE_TEST_SUITE_P(Codes, KalGetCacheCodeTest,
                         testing::Values(CacheResult{6, DEVERR_INVHANDLE}, CacheResult{1, KAL_FAIL},
                                         CacheResult{122, KAL_FAIL}, CacheResult{170, KAL_FAIL},
                                         CacheResult{1168, KAL_FAIL}, CacheResult{0xFFFFFFFF, KAL_FAIL}));

TEST_F(KalGetCacheTest, RemainingBytesAreLogged) {
    blockIs(head + std::string("\x00\x0F\xA5\xFF", 4));
    GuardedBuffer buffer(12);
    get(buffer);
    EXPECT_THAT(machine.logTexts(),
                ElementsAre("+KalGetCache() handle =5", "+KalGetCacheRunnable()", "returns 00 0F A5 FF",
                            "-KalGetCacheRunnable()", "-KalGetCache() handle =5 rc=0"));
}

TEST_F(KalGetCacheTest, NullBufferFailsWithoutTheService) {
    EXPECT_EQ(KalGetCache(0, 5, nullptr, 16, &length), KAL_FAIL);
    EXPECT_THAT(service.sequence(), IsEmpty());
    EXPECT_EQ(length, 0xCCCCCCCCu);
    EXPECT_THAT(machine.logTexts(), Contains("KalGetCache() buffer = NULL"));
    EXPECT_EQ(machine.logTexts().back(), "-KalGetCache() handle =5 rc=1");
}

TEST_F(KalGetCacheTest, NullLengthFailsWithoutTheService) {
    GuardedBuffer buffer(16);
    EXPECT_EQ(KalGetCache(0, 5, buffer.data(), 16, nullptr), KAL_FAIL);
    EXPECT_THAT(service.sequence(), IsEmpty());
    EXPECT_THAT(machine.logTexts(), Contains("KalGetCache() length = NULL"));
}

TEST_F(KalGetCacheTest, FailureToStartTheWorkerIsAFailure) {
    const NoWorkerThread noWorkerThread;
    GuardedBuffer buffer(16);
    EXPECT_EQ(get(buffer), KAL_FAIL);
    EXPECT_THAT(machine.logTexts(),
                ElementsAre("+KalGetCache() handle =5", "KalGetCache() exception=8", "-KalGetCache() handle =5 rc=1"));
}

TEST_F(KalGetCacheTest, DirtAboveTheArgumentsIsCutOff) {
    GuardedBuffer buffer(16);
    const auto call = library<int32_t(uint64_t, uint64_t, void *, uint64_t, void *)>("KalGetCache");
    EXPECT_EQ(call(dirty16(0), dirty16(0xFFFF), buffer.data(), dirty32(16), &length), KAL_OKAY);
    EXPECT_EQ(service.lastCall("OrxGetCachePrinter").number(1), 0xFFFFu);
    EXPECT_EQ(service.lastCall("OrxGetCachePrinter").number(3), 16u);
}

} // namespace
} // namespace kal::test
