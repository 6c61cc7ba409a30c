#include "platform/Data.h"

#include "tests/support/GuardedBuffer.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <type_traits>

namespace kal::test {
namespace {

void append(Data &data, const std::string &bytes) {
    const GuardedBuffer source(bytes);
    data.append(source.data(), static_cast<uint32_t>(source.size()));
}

Data dataOf(const std::string &bytes) {
    Data data;
    append(data, bytes);
    return data;
}

std::string unread(const Data &data) {
    return data.remaining() == 0 ? std::string()
                                 : std::string(reinterpret_cast<const char *>(data.current()), data.remaining());
}

bool overwriteTail(Data &data, const std::string &bytes) {
    return data.overwriteTail(reinterpret_cast<const uint8_t *>(bytes.data()), static_cast<uint32_t>(bytes.size()));
}

static_assert(std::has_virtual_destructor_v<Data>);

TEST(Data, NewOneIsEmpty) {
    const Data data;
    EXPECT_EQ(data.remaining(), 0u);
    EXPECT_EQ(data.current(), nullptr);
    EXPECT_EQ(data.getFirstAttribute(), 0u);
    EXPECT_EQ(data.getSecondAttribute(), 0u);
}

TEST(Data, IsDestroyedThroughItsBase) {
    std::unique_ptr<Data> data = std::make_unique<Data>();
    append(*data, "abc");
    EXPECT_EQ(unread(*data), "abc");
}

// -------------------------------------------------------------------------------------------------- append

TEST(Data, AppendedBytesAreUnread) {
    EXPECT_EQ(unread(dataOf("abc")), "abc");
}

TEST(Data, AppendGivesTheNewEnd) {
    Data data;
    const uint8_t bytes[] = {1, 2, 3};
    EXPECT_EQ(data.append(bytes, 3), 3u);
    EXPECT_EQ(data.append(bytes, 2), 5u);
    data.skip(4, false);
    EXPECT_EQ(data.append(bytes, 1), 6u);
}

TEST(Data, BytesAreCopiedNotKept) {
    std::string bytes = "abc";
    Data data;
    data.append(reinterpret_cast<const uint8_t *>(bytes.data()), 3);
    bytes = "xyz";
    EXPECT_EQ(unread(data), "abc");
}

TEST(Data, AppendingNothingChangesNothing) {
    Data data = dataOf("abc");
    data.skip(1, false);
    EXPECT_EQ(data.append(nullptr, 0), 3u);
    EXPECT_EQ(unread(data), "bc");
}

TEST(Data, AppendingNothingToNothingStaysEmpty) {
    Data data;
    EXPECT_EQ(data.append(nullptr, 0), 0u);
    EXPECT_EQ(data.current(), nullptr);
}

TEST(Data, AppendKeepsReadBytesRead) {
    Data data = dataOf("abcde");
    data.skip(2, false);
    append(data, "fg");
    EXPECT_EQ(data.remaining(), 5u);
    EXPECT_EQ(unread(data), "cdefg");
}

TEST(Data, AppendAfterAllWasReadGivesOnlyTheNewBytes) {
    Data data = dataOf("abc");
    data.skip(3, false);
    append(data, "de");
    EXPECT_EQ(unread(data), "de");
}

TEST(Data, AppendThatMovesTheStorageKeepsTheCursor) {
    Data data = dataOf("abc");
    data.skip(2, false);
    append(data, std::string(100000, 'z'));
    EXPECT_EQ(unread(data), "c" + std::string(100000, 'z'));
}

TEST(Data, AppendKeepsTheAttributes) {
    Data data;
    data.setFirstAttribute(1);
    data.setSecondAttribute(2);
    append(data, "a");
    EXPECT_EQ(data.getFirstAttribute(), 1u);
    EXPECT_EQ(data.getSecondAttribute(), 2u);
}

TEST(Data, OtherBuffersUnreadBytesAreAppended) {
    Data source = dataOf("12345");
    source.skip(2, false);
    Data data = dataOf("abc");
    data.skip(1, false);
    EXPECT_EQ(data.append(source), 6u);
    EXPECT_EQ(unread(data), "bc345");
    EXPECT_EQ(unread(source), "345");
}

TEST(Data, EmptyOtherBufferAppendsNothing) {
    Data data = dataOf("abc");
    EXPECT_EQ(data.append(Data()), 3u);
    EXPECT_EQ(unread(data), "abc");
}

TEST(Data, OtherBufferThatWasReadWholeAppendsNothing) {
    Data source = dataOf("12");
    source.skip(2, false);
    Data data = dataOf("abc");
    EXPECT_EQ(data.append(source), 3u);
    EXPECT_EQ(unread(data), "abc");
}

TEST(Data, OtherBuffersAttributesAreNotTaken) {
    Data source = dataOf("12");
    source.setFirstAttribute(7);
    Data data;
    data.append(source);
    EXPECT_EQ(data.getFirstAttribute(), 0u);
}

TEST(Data, BufferMayBeAppendedToItself) {
    Data data = dataOf("abcdefghijklmnopqrstuvwxyz");
    data.skip(24, false);
    data.append(data);
    EXPECT_EQ(unread(data), "yzyz");
}

// ---------------------------------------------------------------------------------------------------- skip

TEST(Data, SkipReadsOver) {
    Data data = dataOf("abcde");
    data.skip(2, false);
    EXPECT_EQ(unread(data), "cde");
}

TEST(Data, SkipOfAllLeavesNothing) {
    Data data = dataOf("abc");
    data.skip(3, false);
    EXPECT_EQ(data.remaining(), 0u);
    EXPECT_NE(data.current(), nullptr);
}

TEST(Data, SkipOfMoreThanIsThereMovesNothing) {
    Data data = dataOf("abc");
    data.skip(1, false);
    data.skip(3, false);
    EXPECT_EQ(unread(data), "bc");
    data.skip(0xFFFFFFFF, false);
    EXPECT_EQ(unread(data), "bc");
}

TEST(Data, SkipOnAnEmptyBufferDoesNothing) {
    Data data;
    data.skip(0, false);
    data.skip(1, false);
    data.skip(0, true);
    data.skip(1, true);
    EXPECT_EQ(data.remaining(), 0u);
    EXPECT_EQ(data.current(), nullptr);
}

TEST(Data, CompactingMovesUnreadBytesToTheFront) {
    Data data = dataOf("abcde");
    const uint8_t *front = data.current();
    data.skip(2, false);
    data.skip(0, true);
    EXPECT_EQ(unread(data), "cde");
    EXPECT_EQ(data.current(), front);
}

TEST(Data, CompactingForgetsWhatWasRead) {
    Data data = dataOf("abcde");
    data.skip(2, true);
    data.reset();
    EXPECT_EQ(unread(data), "cde");
}

TEST(Data, WithoutCompactingWhatWasReadIsStillThere) {
    Data data = dataOf("abcde");
    data.skip(2, false);
    data.reset();
    EXPECT_EQ(unread(data), "abcde");
}

TEST(Data, CompactingHappensAlsoWhenTooFewAreUnread) {
    Data data = dataOf("abcde");
    data.skip(2, false);
    data.skip(4, true);
    EXPECT_EQ(unread(data), "cde");
    data.reset();
    EXPECT_EQ(unread(data), "cde");
}

TEST(Data, CompactingAfterAllWasReadEmptiesTheBuffer) {
    Data data = dataOf("abc");
    data.skip(3, true);
    EXPECT_EQ(data.remaining(), 0u);
    EXPECT_EQ(data.current(), nullptr);
    append(data, "de");
    EXPECT_EQ(unread(data), "de");
}

TEST(Data, SkipKeepsTheAttributes) {
    Data data = dataOf("abc");
    data.setFirstAttribute(3);
    data.skip(1, true);
    EXPECT_EQ(data.getFirstAttribute(), 3u);
}

// ----------------------------------------------------------------------------------- clear, reset, attributes

TEST(Data, AttributesAreSeparate) {
    Data data;
    data.setFirstAttribute(0xFFFFFFFF);
    data.setSecondAttribute(0x80000000);
    EXPECT_EQ(data.getFirstAttribute(), 0xFFFFFFFFu);
    EXPECT_EQ(data.getSecondAttribute(), 0x80000000u);
}

TEST(Data, ClearEmptiesAndSetsAttributesBack) {
    Data data = dataOf("abc");
    data.setFirstAttribute(1);
    data.setSecondAttribute(2);
    data.clear();
    EXPECT_EQ(data.remaining(), 0u);
    EXPECT_EQ(data.current(), nullptr);
    EXPECT_EQ(data.getFirstAttribute(), 0u);
    EXPECT_EQ(data.getSecondAttribute(), 0u);
}

TEST(Data, ClearedBufferTakesBytesAgain) {
    Data data = dataOf("abc");
    data.skip(2, false);
    data.clear();
    append(data, "xy");
    EXPECT_EQ(unread(data), "xy");
}

TEST(Data, ResetMakesAllUnreadAndSetsAttributesBack) {
    Data data = dataOf("abc");
    data.skip(2, false);
    data.setFirstAttribute(1);
    data.setSecondAttribute(2);
    data.reset();
    EXPECT_EQ(unread(data), "abc");
    EXPECT_EQ(data.getFirstAttribute(), 0u);
    EXPECT_EQ(data.getSecondAttribute(), 0u);
}

// -------------------------------------------------------------------------------------------- overwriteTail

TEST(Data, OverwriteTailLeavesExactlyTheNewBytesUnread) {
    Data data = dataOf("abcde");
    EXPECT_TRUE(overwriteTail(data, "xyz"));
    EXPECT_EQ(unread(data), "xyz");
}

TEST(Data, OverwriteTailOverwritesInPlace) {
    Data data = dataOf("abcde");
    overwriteTail(data, "xyz");
    data.reset();
    EXPECT_EQ(unread(data), "abxyz");
}

TEST(Data, OverwriteTailDoesNotChangeTheCallersBytes) {
    Data data = dataOf("abcde");
    const std::string bytes = "xyz";
    overwriteTail(data, bytes);
    EXPECT_EQ(bytes, "xyz");
}

TEST(Data, OverwriteTailOfAllUnreadBytes) {
    Data data = dataOf("abcde");
    data.skip(2, false);
    EXPECT_TRUE(overwriteTail(data, "xyz"));
    EXPECT_EQ(unread(data), "xyz");
}

TEST(Data, OverwriteTailOfMoreThanIsUnreadChangesNothing) {
    Data data = dataOf("abcde");
    data.skip(3, false);
    EXPECT_FALSE(overwriteTail(data, "xyz"));
    EXPECT_EQ(unread(data), "de");
}

TEST(Data, OverwriteTailOfNothingReadsAll) {
    Data data = dataOf("abc");
    EXPECT_TRUE(data.overwriteTail(nullptr, 0));
    EXPECT_EQ(data.remaining(), 0u);
}

TEST(Data, OverwriteTailOnAnEmptyBuffer) {
    Data data;
    EXPECT_TRUE(data.overwriteTail(nullptr, 0));
    EXPECT_FALSE(overwriteTail(data, "x"));
}

// -------------------------------------------------------------------------------------------------- binary form

/// The operations as a compiled caller finds them: by slot. The destructor takes two slots with this compiler.
TEST(Data, OperationsLieInTheirOrder) {
    Data data = dataOf("abcde");
    void **slots = *reinterpret_cast<void ***>(&data);
    constexpr size_t first = 2;
    using Number = uint32_t (*)(const Data *);
    using Set = void (*)(Data *, uint32_t);
    reinterpret_cast<Set>(slots[first + 3])(&data, 11);
    reinterpret_cast<Set>(slots[first + 4])(&data, 22);
    EXPECT_EQ(reinterpret_cast<Number>(slots[first + 5])(&data), 22u);
    EXPECT_EQ(reinterpret_cast<Number>(slots[first + 6])(&data), 11u);
    EXPECT_EQ(reinterpret_cast<Number>(slots[first])(&data), 5u);
    reinterpret_cast<void (*)(Data *, uint32_t, bool)>(slots[first + 2])(&data, 2, false);
    EXPECT_EQ(*reinterpret_cast<const uint8_t *(*)(const Data *)>(slots[first + 1])(&data), 'c');
}

// ---------------------------------------------------------------------------------------------- against a model

/// The same operations on plain strings: what was read, and what is unread.
struct Model {
    std::string read;
    std::string unread;

    void skip(uint32_t count, bool compact) {
        if (count <= unread.size()) {
            read += unread.substr(0, count);
            unread.erase(0, count);
        }
        if (compact)
            read.clear();
    }
};

TEST(Data, ManyOperationsAgreeWithAModel) {
    std::mt19937 random(7);
    const auto below = [&](uint32_t limit) { return static_cast<uint32_t>(random() % limit); };
    Data data;
    Model model;
    for (int round = 0; round < 20000; ++round) {
        std::string bytes(below(9), '\0');
        for (char &byte : bytes)
            byte = static_cast<char>('a' + below(26));
        switch (below(6)) {
        case 0:
        case 1:
            append(data, bytes);
            model.unread += bytes;
            break;
        case 2: {
            const uint32_t count = below(12);
            const bool compact = below(2) == 1;
            data.skip(count, compact);
            model.skip(count, compact);
            break;
        }
        case 3:
            if (overwriteTail(data, bytes)) {
                model.skip(static_cast<uint32_t>(model.unread.size() - bytes.size()), false);
                model.unread = bytes;
            } else {
                ASSERT_LT(model.unread.size(), bytes.size());
            }
            break;
        case 4:
            if (below(10) == 0) {
                data.reset();
                model.unread = model.read + model.unread;
                model.read.clear();
            }
            break;
        default:
            if (below(20) == 0) {
                data.clear();
                model = {};
            }
        }
        ASSERT_EQ(unread(data), model.unread) << "round " << round;
        ASSERT_EQ(data.current() == nullptr, model.read.empty() && model.unread.empty()) << "round " << round;
    }
}

} // namespace
} // namespace kal::test
