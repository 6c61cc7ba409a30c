#include "api/BidiRequest.h"

#include "tests/support/GuardedBuffer.h"
#include "tests/unit/api/BidiCommands.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <optional>

namespace kal::test {
namespace {

using testing::ElementsAre;

using Bytes = std::vector<uint8_t>;

/// Composes into a room that ends at an inaccessible page, from data that does too.
std::optional<Bytes> compose(uint16_t function, const Bytes &data = {}) {
    GuardedBuffer room(bidiRequestSize, 0);
    GuardedBuffer guardedData(data.size());
    std::copy(data.begin(), data.end(), guardedData.data());
    const auto request = composeBidiRequest(function, {guardedData.data(), guardedData.size()},
                                            std::span<uint8_t, bidiRequestSize>(room.data(), bidiRequestSize));
    if (!request)
        return std::nullopt;
    return Bytes(request->begin(), request->end());
}

Bytes numberedBytes(size_t count) {
    Bytes bytes(count);
    for (size_t index = 0; index < count; ++index)
        bytes[index] = static_cast<uint8_t>(index * 5 + 1);
    return bytes;
}

TEST(BidiCommandList, HoldsAllOfThem) {
    EXPECT_EQ(bidiFrames().size(), 149u);
}

TEST(BidiRequest, EveryFunctionCodeGivesItsFrameOrNothing) {
    for (uint32_t function = 0; function <= 65535; ++function) {
        if (function == rawBidiFunction)
            continue;
        const auto request = compose(static_cast<uint16_t>(function));
        const auto expected = bidiFrames().find(static_cast<uint16_t>(function));
        if (expected == bidiFrames().end())
            EXPECT_FALSE(request) << "code " << function;
        else
            EXPECT_EQ(request, expected->second) << "code " << function;
    }
}

TEST(BidiRequest, CodeZeroIsAFrameWithoutACommand) {
    EXPECT_EQ(compose(0), (Bytes{0xA5, 0x00, 0x00}));
}

TEST(BidiRequest, OneByteIsAppendedToEveryFrame) {
    for (const auto &[function, frame] : bidiFrames()) {
        if (function == rawBidiFunction)
            continue;
        Bytes expected = frame;
        expected.push_back(0x5A);
        expected[2] = static_cast<uint8_t>(expected[2] + 1);
        EXPECT_EQ(compose(function, {0x5A}), expected) << "code " << function;
    }
}

TEST(BidiRequest, DataThatJustFitsIsAppendedToEveryFrame) {
    for (const auto &[function, frame] : bidiFrames()) {
        if (function == rawBidiFunction)
            continue;
        const Bytes data = numberedBytes(512 - frame.size());
        Bytes expected = frame;
        expected.insert(expected.end(), data.begin(), data.end());
        expected[1] = 0x01;
        expected[2] = 0xFD;
        EXPECT_EQ(compose(function, data), expected) << "code " << function;
    }
}

TEST(BidiRequest, DataThatJustDoesNotFitIsLeftOffEveryFrame) {
    for (const auto &[function, frame] : bidiFrames()) {
        if (function == rawBidiFunction)
            continue;
        EXPECT_EQ(compose(function, numberedBytes(513 - frame.size())), frame) << "code " << function;
        EXPECT_EQ(compose(function, numberedBytes(65535)), frame) << "code " << function;
    }
}

TEST(BidiRequest, EveryLengthOfDataHasItsLengthInTheHead) {
    for (size_t count = 1; count <= 506; ++count) {
        const auto request = compose(1, numberedBytes(count));
        ASSERT_TRUE(request);
        ASSERT_EQ(request->size(), 6 + count);
        EXPECT_EQ((*request)[1], (3 + count) >> 8);
        EXPECT_EQ((*request)[2], (3 + count) & 0xFF);
    }
}

TEST(BidiRequest, DataForACodeWithoutARequestChangesNothing) {
    for (const int function : {14, 181, 182, 183, 65535})
        EXPECT_FALSE(compose(static_cast<uint16_t>(function), {1, 2, 3})) << "code " << function;
}

TEST(BidiRequest, RawCodeSendsTheDataAsItStands) {
    for (const size_t count : {size_t{1}, size_t{511}, size_t{512}, size_t{513}, size_t{65535}})
        EXPECT_EQ(compose(rawBidiFunction, numberedBytes(count)), numberedBytes(count));
}

TEST(BidiRequest, RawCodeWithoutDataIsEmpty) {
    EXPECT_EQ(compose(rawBidiFunction), Bytes());
}

// --------------------------------------------------------------------------------------------- response head

TEST(BidiResponseHead, IsDropped) {
    GuardedBuffer response(std::string("HHHHHabc"));
    EXPECT_EQ(dropBidiResponseHead(response.data(), 8), 3u);
    EXPECT_EQ(response.bytes().substr(0, 3), "abc");
}

TEST(BidiResponseHead, LongResponseMovesOverlapping) {
    const Bytes body = numberedBytes(10000);
    GuardedBuffer response(10005);
    std::memcpy(response.data() + 5, body.data(), body.size());
    EXPECT_EQ(dropBidiResponseHead(response.data(), 10005), 10000u);
    EXPECT_EQ(std::memcmp(response.data(), body.data(), body.size()), 0);
}

TEST(BidiResponseHead, ResponseNoLongerThanTheHeadIsEmpty) {
    for (uint32_t length = 0; length <= 5; ++length) {
        GuardedBuffer response(length);
        EXPECT_EQ(dropBidiResponseHead(response.data(), length), 0u) << "length " << length;
    }
}

TEST(BidiResponseHead, NoResponseIsEmpty) {
    EXPECT_EQ(dropBidiResponseHead(nullptr, 0), 0u);
}

} // namespace
} // namespace kal::test
