#include "logging/LogLevel.h"
#include "logging/LogLine.h"
#include "logging/LoggerComponent.h"
#include "logging/MessageText.h"
#include "logging/SettingCache.h"

#include "tests/support/EveryCore.h"
#include "tests/unit/platform/VirtualTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

using namespace kal;
using namespace kal::test;

namespace {

std::string headerText(const LogHeader &header) {
    MessageText line;
    composeHeader(line, header);
    return line.str();
}

template <class... Pieces>
std::string composed(const Pieces &...pieces) {
    MessageText text;
    (text << ... << pieces);
    return text.str();
}

constexpr LogTime march = {2012, 3, 5, 14, 7, 9, 42};

struct ComponentDefault {
    const char *name;
    uint32_t level;
};

constexpr uint32_t on = 0xFFFFFFFF;
constexpr ComponentDefault expectedComponents[] = {
    {"All", on},           {"Bidi", on},         {"ComClientBidi", on},   {"ComClient", 0},
    {"COMServer", 0},      {"CfgUtil", 0},       {"Hbn1Transport", 0},    {"Hbn3Transport", 0},
    {"Ip1Transport", 0},   {"Ip1Discovery", 0},  {"LegacyClient", on},    {"PortMonitorUI", on},
    {"PPClient", 0},       {"PPServer", 0},      {"PrintMonitor", on},    {"Server", 0},
    {"Special", 0},        {"Transport", 0},     {"Usb1Transport", 0},    {"Usb1Discovery", 0},
    {"Usb1Hid", 0},        {"Par1Transport", 0}, {"Shared", 0},           {"Utility", 0},
    {"InstallHelper", 0},  {"Hcp", 0},           {"NpaInterpreter", 0},   {"EscInterpreter", 0},
    {"ObjInterpreter", 0}, {"Interpreters", 0},  {"ComponentInstall", 0},
};

} // namespace

TEST(LogHeader, WithEveryFieldOnIsTimeProcessThreadComponent) {
    EXPECT_EQ(headerText({march, 0xA3C, 0xB04, "LegacyClient", 15, 0}),
              "2012/03/05-14:07:09.042 pid=0a3c tid=0b04 LegacyClient    ");
}

TEST(LogHeader, WithTimeOnly) {
    EXPECT_EQ(headerText({march, {}, {}, "Bidi", 15, 0}), "2012/03/05-14:07:09.042 Bidi            ");
}

TEST(LogHeader, WithNoFieldIsTheComponentColumn) {
    EXPECT_EQ(headerText({{}, {}, {}, "Bidi", 15, 0}), "Bidi            ");
}

TEST(LogHeader, TimeFieldsAreZeroFilled) {
    EXPECT_EQ(headerText({LogTime{1, 1, 1, 0, 0, 0, 0}, {}, {}, "", 0, 0}), "0001/01/01-00:00:00.000  ");
}

TEST(LogHeader, LargestTimeFieldsFillTheirWidth) {
    EXPECT_EQ(headerText({LogTime{2099, 12, 31, 23, 59, 59, 999}, {}, {}, "", 0, 0}), "2099/12/31-23:59:59.999  ");
}

TEST(LogHeader, IdentifiersWiderThanFourDigitsAreWhole) {
    EXPECT_EQ(headerText({{}, 0xFFFFFFFF, 0x10000, "Bidi", 4, 0}), "pid=ffffffff tid=10000 Bidi ");
}

TEST(LogHeader, IdentifierZeroHasFourDigits) {
    EXPECT_EQ(headerText({{}, 0u, {}, "Bidi", 4, 0}), "pid=0000 Bidi ");
}

TEST(LogHeader, ComponentOfTheColumnsWidthHasOneBlankBehind) {
    EXPECT_EQ(headerText({{}, {}, {}, "NpaInterpreters", 15, 0}), "NpaInterpreters ");
}

TEST(LogHeader, LongerComponentIsWholeWithOneBlankBehind) {
    EXPECT_EQ(headerText({{}, {}, {}, "ComponentInstall", 15, 0}), "ComponentInstall ");
}

TEST(LogHeader, DepthIsABlankEach) {
    EXPECT_EQ(headerText({{}, {}, {}, "Bidi", 5, 3}), "Bidi     ");
}

TEST(LogHeader, WithoutFieldsIsOneBlank) {
    EXPECT_EQ(headerText({}), " ");
}

TEST(LogHeader, NegativeDepthIsNone) {
    EXPECT_EQ(headerText({{}, {}, {}, "Bidi", 4, -2}), "Bidi ");
}

TEST(MessageText, NullPointerAddsNothing) {
    const void *nothing = nullptr;
    EXPECT_EQ(composed("a", nothing, "b"), "ab");
}

TEST(MessageText, PointerIsZeroXAndSixteenDigits) {
    EXPECT_EQ(composed(reinterpret_cast<const void *>(0xABC)), "0x0000000000000ABC");
    EXPECT_EQ(composed(reinterpret_cast<const void *>(0xFEDCBA9876543210)), "0xFEDCBA9876543210");
}

TEST(MessageText, NumbersAreDecimal) {
    EXPECT_EQ(composed(uint16_t{65535}, ' ', uint32_t{4294967295u}, ' ', uint64_t{18446744073709551615u}),
              "65535 4294967295 18446744073709551615");
}

TEST(MessageText, NegativeNumbersHaveASign) {
    EXPECT_EQ(composed(int32_t{-27}, ' ', INT64_MIN, ' ', INT32_MIN), "-27 -9223372036854775808 -2147483648");
}

TEST(MessageText, NullTextAddsNothing) {
    const char *nothing = nullptr;
    EXPECT_EQ(composed("a", nothing, "b"), "ab");
}

TEST(MessageText, TextWithoutAddressAddsNothing) {
    EXPECT_EQ(composed("a", std::string_view(), "b"), "ab");
}

TEST(MessageText, BytesAreTwoUpperCaseDigitsEachWithBlanksBetween) {
    const uint8_t bytes[] = {0x00, 0x0A, 0xFF};
    EXPECT_EQ(composed(HexBytes{bytes}), "00 0A FF");
    EXPECT_EQ(composed(HexBytes{std::span(bytes).first(1)}), "00");
    EXPECT_EQ(composed(HexBytes{{}}), "");
}

class MessageTextOfLength : public testing::TestWithParam<size_t> {};

TEST_P(MessageTextOfLength, KeepsEveryCharacter) {
    MessageText text;
    std::string expected;
    for (size_t index = 0; index < GetParam(); ++index) {
        const char character = static_cast<char>('a' + index % 26);
        text << character;
        expected += character;
    }
    EXPECT_EQ(text.view(), expected);
    EXPECT_EQ(std::string(text.c_str()), expected);
    text << "tail";
    EXPECT_EQ(text.str(), expected + "tail");
    EXPECT_EQ(std::string(text.c_str()), expected + "tail");
}

INSTANTIATE_TEST_SUITE_P(AroundItsRoom, MessageTextOfLength,
                         testing::Values(0, 1, 507, 508, 509, 510, 511, 512, 513, 514, 1024, 5000));

TEST(MessageText, OnePieceLongerThanItsRoomIsWhole) {
    const std::string piece(3000, 'x');
    EXPECT_EQ(composed("a", piece, "b"), "a" + piece + "b");
}

TEST(MessageText, FillAddsOneCharacterManyTimes) {
    MessageText text;
    text.fill(' ', 600);
    EXPECT_EQ(text.str(), std::string(600, ' '));
}

TEST(MessageText, FillThatLeavesTheRoomFollowsWhatStandsThere) {
    for (const size_t length : {500, 503, 504, 505, 510, 511, 512}) {
        const std::string piece(length, 'x');
        EXPECT_EQ(composed(piece, PaddedNumber{7, 9}, "end"), piece + "000000007end") << length;
    }
}

TEST(MessageText, FillBehindTextThatHasLeftTheRoomFollowsIt) {
    const std::string piece(3000, 'x');
    EXPECT_EQ(composed(piece, PaddedNumber{7, 4}), piece + "0007");
}

TEST(SettingAge, YoungerThanTheMaximumIsFresh) {
    EXPECT_TRUE(isFresh(1001, 1000, 5000));
    EXPECT_TRUE(isFresh(5999, 1000, 5000));
}

TEST(SettingAge, AsOldAsTheMaximumIsStale) {
    EXPECT_FALSE(isFresh(6000, 1000, 5000));
    EXPECT_FALSE(isFresh(6001, 1000, 5000));
}

TEST(SettingAge, SameTickIsStale) {
    EXPECT_FALSE(isFresh(1000, 1000, 5000));
}

TEST(SettingAge, WrappedCounterIsStale) {
    EXPECT_FALSE(isFresh(10, 0xFFFFFFFA, 5000));
}

TEST(SettingAge, HighestTicksAreCompared) {
    EXPECT_TRUE(isFresh(0xFFFFFFFF, 0xFFFFFFFE, 5000));
    EXPECT_FALSE(isFresh(0xFFFFFFFF, 0, 5000));
}

TEST(SettingCache, UnknownSettingIsNotFound) {
    EXPECT_FALSE(SettingCache().find("All", 1, 5000).has_value());
}

TEST(SettingCache, StoredSettingIsFoundWhileFresh) {
    SettingCache cache;
    cache.store("All", 0xFFFFFFFF, 1000);
    EXPECT_EQ(cache.find("All", 1001, 5000), 0xFFFFFFFFu);
    EXPECT_FALSE(cache.find("All", 6000, 5000).has_value());
}

TEST(SettingCache, NamesAreWholeAndCaseSensitive) {
    SettingCache cache;
    cache.store("All", 1, 1000);
    EXPECT_FALSE(cache.find("all", 1001, 5000).has_value());
    EXPECT_FALSE(cache.find("Al", 1001, 5000).has_value());
}

TEST(SettingCache, LaterValueReplacesTheEarlier) {
    SettingCache cache;
    cache.store("All", 1, 1000);
    cache.store("Bidi", 7, 1000);
    cache.store("All", 2, 9000);
    EXPECT_EQ(cache.find("All", 9001, 5000), 2u);
    EXPECT_EQ(cache.find("Bidi", 1001, 5000), 7u);
}

TEST(SettingCache, ValueAndTickBelongTogetherAmongThreads) {
    const EveryCore everyCore;
    constexpr std::array<uint32_t, 2> stored = {1, 5}; // as value and as tick
    constexpr uint32_t enough = 20000;
    SettingCache cache;
    std::atomic<bool> isOver = false;
    std::vector<std::thread> writers;
    for (const uint32_t number : stored) {
        writers.emplace_back([&cache, &isOver, number] {
            while (!isOver) {
                cache.store("All", number, number);
            }
        });
    }
    std::array<uint32_t, stored.size()> compared = {};
    uint32_t torn = 0;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (std::ranges::min(compared) < enough && std::chrono::steady_clock::now() < deadline) {
        for (size_t which = 0; which < stored.size(); ++which) {
            if (const auto value = cache.find("All", stored[which] + 1, 2)) { // fresh only when of that very tick
                ++compared[which];
                torn += *value == stored[which] ? 0 : 1;
            }
        }
    }
    isOver = true;
    for (std::thread &writer : writers) {
        writer.join();
    }
    EXPECT_EQ(torn, 0u);
    EXPECT_THAT(compared, testing::Each(testing::Ge(enough)));
}

TEST(LogLevel, LevelPassesWhenItSharesABitWithEitherMask) {
    EXPECT_TRUE(passesMasks(2, 2, 0));
    EXPECT_TRUE(passesMasks(2, 0, 2));
    EXPECT_TRUE(passesMasks(10, 8, 0));
    EXPECT_FALSE(passesMasks(2, 8, 4));
    EXPECT_FALSE(passesMasks(0, 0xFFFFFFFF, 0xFFFFFFFF));
}

TEST(LoggerComponent, TableHasEveryComponentWithItsDefault) {
    ASSERT_EQ(static_cast<size_t>(ComponentId::count), std::size(expectedComponents));
    for (size_t index = 0; index < std::size(expectedComponents); ++index) {
        const LoggerComponent &component = loggerComponent(static_cast<ComponentId>(index));
        EXPECT_EQ(component.name(), expectedComponents[index].name);
        EXPECT_EQ(component.level(), expectedComponents[index].level) << component.name();
    }
}

TEST(LoggerComponent, SlotsAreNameSetLevelLevelDestructor) {
    auto *component = new LoggerComponent("Server", 4); // freed by the slot under test
    EXPECT_EQ(virtualSlot<std::string(const LoggerComponent *)>(*component, 0)(component), "Server");
    virtualSlot<void(LoggerComponent *, uint32_t)>(*component, 1)(component, 9);
    EXPECT_EQ(virtualSlot<uint32_t(const LoggerComponent *)>(*component, 2)(component), 9u);
    virtualSlot<void(LoggerComponent *)>(*component, 4)(component);
}

TEST(LoggerComponent, MembersAreNameThenLevel) {
    const LoggerComponent component("Server", 4);
    EXPECT_EQ(memberAt<const char *>(component, 8)[0], 'S');
    EXPECT_EQ(memberAt<uint32_t>(component, 40), 4u);
}
