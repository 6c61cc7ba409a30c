#include "api/Notifications.h"

#include <gtest/gtest.h>

namespace kal::test {
namespace {

TEST(Notifications, StatesOfThePrinterArePosted) {
    EXPECT_EQ(classifyNotification(1).state, 1u);
    EXPECT_STREQ(classifyNotification(1).text, "id=PRINTER_PRINTING_AND_OKAY");
    EXPECT_EQ(classifyNotification(2).state, 3u);
    EXPECT_STREQ(classifyNotification(2).text, "id=PRINTER_PRINTING_AND_ERROR");
    EXPECT_EQ(classifyNotification(3).state, 0u);
    EXPECT_STREQ(classifyNotification(3).text, "id=PRINTER_IDLE_AND_OKAY");
}

TEST(Notifications, StepsOfAJobAreOnlyLogged) {
    const char *const texts[] = {
        "id=NOTIFICATION_START_JOB_REQUESTED, not sent to client", "id=NOTIFICATION_FIRST_WRITE, not sent to client",
        "id=NOTIFICATION_END_JOB_REQUESTED, not sent to client", "id=NOTIFICATION_JOB_CANCELED, not sent to client"};
    uint32_t notification = 4;
    for (const char *const text : texts) {
        const NotificationVerdict verdict = classifyNotification(notification++);
        EXPECT_STREQ(verdict.text, text);
        EXPECT_FALSE(verdict.state) << text;
    }
}

TEST(Notifications, OthersAreUnknown) {
    for (const uint32_t notification : {0u, 9u, 0xFFFFFFFFu}) {
        EXPECT_STREQ(classifyNotification(notification).text, "id=unknown");
        EXPECT_FALSE(classifyNotification(notification).state);
    }
}

TEST(PrinterStates, PrintingWithAndWithoutAnError) {
    for (const uint32_t state : {1u, 2u}) {
        EXPECT_TRUE(classifyPrinterState(state).isPrinting);
        EXPECT_STREQ(classifyPrinterState(state).text, "State=STATUS_PRINTING_");
    }
    EXPECT_FALSE(classifyPrinterState(3).isPrinting);
    EXPECT_STREQ(classifyPrinterState(3).text, "State=PRINTER_IDLE_AND_OKAY");
}

TEST(PrinterStates, UnknownOnesAreNotPrintingAndNotLogged) {
    for (const uint32_t state : {0u, 4u, 0xFFFFFFFFu}) {
        EXPECT_FALSE(classifyPrinterState(state).isPrinting);
        EXPECT_EQ(classifyPrinterState(state).text, nullptr);
    }
}

} // namespace
} // namespace kal::test
