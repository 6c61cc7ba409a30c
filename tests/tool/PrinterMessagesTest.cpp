#include "tools/printers/PrinterMessages.h"

#include <gtest/gtest.h>

using namespace tool;

TEST(DecodeMessage, EveryMessageOfTheLibraryIsKnown) {
    const struct {
        uint32_t message;
        const char *name;
        MessageContent content;
    } rows[] = {
        {0x5F4, "WM_KAL_DSA", MessageContent::alertId},
        {0x600, "WM_KAL_TONERPREDICTION", MessageContent::alertId},
        {0x601, "WM_KAL_ENDOFJOB", MessageContent::endOfJobFlag},
        {0x63C, "WM_KAL_PRINTERSTATUS", MessageContent::printerState},
        {0x63D, "WM_KAL_JOBOIRALERTEX", MessageContent::alertId},
        {0x63E, "WM_KAL_WARNINGSEX", MessageContent::alertId},
        {0x63F, "WM_KAL_CONFIGCHANGEEX", MessageContent::alertId},
        {0x640, "WM_KAL_CPD_STATUSCHANGE", MessageContent::alertId},
    };
    for (const auto &row : rows) {
        const auto message = decodeMessage(row.message, 0, 0);
        ASSERT_TRUE(message) << row.name;
        EXPECT_EQ(message->name, row.name);
        EXPECT_EQ(message->content, row.content) << row.name;
    }
}

TEST(DecodeMessage, OtherMessagesAreNone) {
    for (const uint32_t message : {0u, 0x400u, 0x5F3u, 0x602u, 0x63Bu, 0x641u}) {
        EXPECT_FALSE(decodeMessage(message, 0, 0)) << message;
    }
}

TEST(DecodeMessage, HalvesAreTakenApartWithoutSign) {
    const auto message = decodeMessage(0x601, 0xFFFE8001, 1024);
    EXPECT_EQ(message->handle, 0x8001);
    EXPECT_EQ(message->value, 0xFFFE);
    EXPECT_EQ(message->portType, 1024u);
}

TEST(DescribeValue, EachContentHasItsWords) {
    EXPECT_EQ(describeValue(*decodeMessage(0x63E, 0x00050003, 0)), "alert 5");
    EXPECT_EQ(describeValue(*decodeMessage(0x63C, 0x00000003, 0)), "idle");
    EXPECT_EQ(describeValue(*decodeMessage(0x63C, 0x00010003, 0)), "printing");
    EXPECT_EQ(describeValue(*decodeMessage(0x63C, 0x00030003, 0)), "error");
    EXPECT_EQ(describeValue(*decodeMessage(0x63C, 0x00020003, 0)), "state 2");
    EXPECT_EQ(describeValue(*decodeMessage(0x601, 0x00010003, 1024)), "flag 1, USB");
}

TEST(PortTypeName, EachCodeHasItsName) {
    EXPECT_EQ(portTypeName(2), "network (IPv4)");
    EXPECT_EQ(portTypeName(512), "network (HBN)");
    EXPECT_EQ(portTypeName(1024), "USB");
    EXPECT_EQ(portTypeName(2048), "parallel");
    EXPECT_EQ(portTypeName(0), "unknown (0)");
}
