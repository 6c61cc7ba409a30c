#include "simulator/events/EventLine.h"

#include <gtest/gtest.h>

using namespace simulator;

namespace {

EventLine notification() {
    EventLine line{133000000000000, 1234, {}};
    line.event.handle = 0x6001;
    line.event.notification = 8;
    line.event.flag = 1;
    return line;
}

TEST(EventLine, NotificationIsReadBackWhole) {
    auto text = composeEventLine(notification());
    ASSERT_EQ(text, "133000000000000 1234 24577 1 8 1 -\n");
    text.pop_back();
    const auto line = readEventLine(text).value();
    EXPECT_EQ(line.dueMs, 133000000000000u);
    EXPECT_EQ(line.process, 1234u);
    EXPECT_EQ(line.event.handle, 0x6001);
    EXPECT_EQ(line.event.category, 1u);
    EXPECT_EQ(line.event.notification, 8u);
    EXPECT_EQ(line.event.flag, 1u);
    EXPECT_FALSE(line.event.alert);
}

TEST(EventLine, AlertAndMissingFlagAreReadBack) {
    auto other = notification();
    other.event.flag.reset();
    other.event.alert = Bytes{0xA5, 0x00, 0xFE};
    auto text = composeEventLine(other);
    ASSERT_EQ(text, "133000000000000 1234 24577 1 8 - A500FE\n");
    text.pop_back();
    const auto line = readEventLine(text).value();
    EXPECT_FALSE(line.event.flag);
    EXPECT_EQ(line.event.alert, (Bytes{0xA5, 0x00, 0xFE}));
}

TEST(EventLine, AnythingElseIsNone) {
    for (const char *text : {"", " ", "1 2 3", "1 2 70000 1 8 1 -", "1 2 3 1 8 x -", "1 2 3 1 8 1 A", "1 2 3 1 8 1 zz",
                             "1 2 3 1 8 1 - ", "x 2 3 1 8 1 -", "1 2 3 1 8 1 A5 A5"}) {
        EXPECT_FALSE(readEventLine(text)) << text;
    }
}

TEST(EventLineReader, LineIsReadOnceItIsComplete) {
    EventLineReader reader;
    EXPECT_TRUE(reader.take("0 1 3 1 6").empty());
    const auto lines = reader.take(" - -\n0 1 3 1 8 7 -\n0 1");
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].event.notification, 6u);
    EXPECT_EQ(lines[1].event.notification, 8u);
    EXPECT_EQ(reader.take(" 3 1 4 - -\n").size(), 1u);
}

TEST(EventLineReader, OtherLinesArePassedOver) {
    EventLineReader reader;
    const auto lines = reader.take("nonsense\n\n0 1 3 1 6 - -\n");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].event.notification, 6u);
}

TEST(EventLineReader, RestartForgetsTheBeginningOfALine) {
    EventLineReader reader;
    EXPECT_TRUE(reader.take("0 1 3 1 ").empty());
    reader.restart();
    EXPECT_TRUE(reader.take("6 - -\n").empty());
}

} // namespace
