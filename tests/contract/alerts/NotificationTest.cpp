#include "tests/contract/alerts/AlertFixture.h"

namespace kal::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

class NotificationTest : public AlertTest {
  protected:
    NotificationTest() { captureForWindow(); }

    static std::string entryText(uint32_t notification, uint32_t category = 1, uint32_t handle = 5) {
        return "KalNotificationCallback() handle=" + std::to_string(handle) +
               " notification=" + std::to_string(notification) + " category=" + std::to_string(category);
    }
};

struct PostedState {
    uint32_t notification;
    uint16_t state;
    const char *name;
};

void PrintTo(const PostedState &row, std::ostream *stream) {
    *stream << row.name;
}

class NotificationStateTest : public NotificationTest, public testing::WithParamInterface<PostedState> {};

TEST_P(NotificationStateTest, StateIsPosted) {
    EXPECT_EQ(notify(GetParam().notification), 0u);
    EXPECT_THAT(posted(), ElementsAre(Posted{window, 0x63C, static_cast<WPARAM>(GetParam().state) << 16 | 5, 0}));
    EXPECT_THAT(service.operations(), IsEmpty());
}

TEST_P(NotificationStateTest, StateIsLogged) {
    notify(GetParam().notification);
    EXPECT_THAT(machine.logTexts(),
                ElementsAre(entryText(GetParam().notification), std::string("id=") + GetParam().name,
                            "Posting message to hwnd=0x0000000000054321"));
}

INSTANTIATE_TEST_SUITE_P(States, NotificationStateTest,
                         testing::Values(PostedState{1, 1, "PRINTER_PRINTING_AND_OKAY"},
                                         PostedState{2, 3, "PRINTER_PRINTING_AND_ERROR"},
                                         PostedState{3, 0, "PRINTER_IDLE_AND_OKAY"}));

struct SilentRow {
    uint32_t notification;
    const char *text;
};

void PrintTo(const SilentRow &row, std::ostream *stream) {
    *stream << row.notification;
}

class NotificationSilentTest : public NotificationTest, public testing::WithParamInterface<SilentRow> {};

TEST_P(NotificationSilentTest, IsLoggedButNotPosted) {
    const GuardedBuffer nothing(0);
    EXPECT_EQ(notify(GetParam().notification, nothing.as<uint32_t>()), 0u); // the flag is not theirs to read
    EXPECT_THAT(posted(), IsEmpty());
    EXPECT_THAT(service.operations(), IsEmpty());
    EXPECT_THAT(machine.logTexts(), ElementsAre(entryText(GetParam().notification), GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(Ids, NotificationSilentTest,
                         testing::Values(SilentRow{4, "id=NOTIFICATION_START_JOB_REQUESTED, not sent to client"},
                                         SilentRow{5, "id=NOTIFICATION_FIRST_WRITE, not sent to client"},
                                         SilentRow{6, "id=NOTIFICATION_END_JOB_REQUESTED, not sent to client"},
                                         SilentRow{7, "id=NOTIFICATION_JOB_CANCELED, not sent to client"},
                                         SilentRow{0, "id=unknown"}, SilentRow{9, "id=unknown"},
                                         SilentRow{10, "id=unknown"}, SilentRow{256, "id=unknown"},
                                         SilentRow{0x10001, "id=unknown"}, SilentRow{0x10008, "id=unknown"},
                                         SilentRow{0x80000001, "id=unknown"}, SilentRow{0xFFFFFFFF, "id=unknown"}));

// -------------------------------------------------------------------------------------------------- end of job

TEST_F(NotificationTest, EndOfJobWithoutAFlagIsOne) {
    EXPECT_EQ(notify(8), 0u);
    EXPECT_THAT(posted(), ElementsAre(Posted{window, 0x601, 0x10005, 1024}));
    EXPECT_THAT(machine.logTexts(), Contains("teojFlag=1"));
    EXPECT_EQ(machine.logTexts().front(), entryText(8));
}

struct FlagRow {
    uint32_t flag;
    uint16_t high;
};

class NotificationFlagTest : public NotificationTest, public testing::WithParamInterface<FlagRow> {};

TEST_P(NotificationFlagTest, LowHalfOfTheFlagIsPosted) {
    const GuardedBuffer flag(4);
    *flag.as<uint32_t>() = GetParam().flag;
    EXPECT_EQ(notify(8, flag.as<uint32_t>()), 0u);
    EXPECT_THAT(posted(), ElementsAre(Posted{window, 0x601, static_cast<WPARAM>(GetParam().high) << 16 | 5, 1024}));
    EXPECT_THAT(machine.logTexts(), Contains("teojFlag=" + std::to_string(GetParam().flag)));
}

INSTANTIATE_TEST_SUITE_P(Flags, NotificationFlagTest,
                         testing::Values(FlagRow{0, 0}, FlagRow{1, 1}, FlagRow{2, 2}, FlagRow{0xFFFF, 0xFFFF},
                                         FlagRow{0x10000, 0}, FlagRow{0x12345, 0x2345}, FlagRow{0xFFFFFFFF, 0xFFFF}));

struct TransportRow {
    const char *transport;
    LPARAM portType;
};

class NotificationTransportTest : public NotificationTest, public testing::WithParamInterface<TransportRow> {};

TEST_P(NotificationTransportTest, EndOfJobCarriesThePortType) {
    service.stringProperty("Transport", GetParam().transport);
    EXPECT_EQ(notify(8), 0u);
    ASSERT_THAT(posted(), SizeIs(1));
    EXPECT_EQ(posted()[0].lParam, GetParam().portType);
    const auto call = service.lastCall("OrxGetStringPrinter");
    EXPECT_EQ(call.number(1), 5u);
    EXPECT_EQ(call.text(2), "<Name>Transport</Name><Type>String</Type><Access>ReadOnly</Access>");
    EXPECT_EQ(call.number(4), 256u);
}

INSTANTIATE_TEST_SUITE_P(Transports, NotificationTransportTest,
                         testing::Values(TransportRow{"HBN1", 512}, TransportRow{"HBN3", 512},
                                         TransportRow{"USB1", 1024}, TransportRow{"PAR1", 2048},
                                         TransportRow{"IPv4", 2}, TransportRow{"ipv4", 2}, TransportRow{"other", 0},
                                         TransportRow{"", 0}));

TEST_F(NotificationTest, EndOfJobOfAnUnreadableTransportIsUsb) {
    service.answers("OrxGetStringPrinter", 5);
    EXPECT_EQ(notify(8), 0u);
    EXPECT_THAT(posted(), ElementsAre(Posted{window, 0x601, 0x10005, 1024}));
}

// ---------------------------------------------------------------------------------------------------- the rest

TEST_F(NotificationTest, OtherCategoriesPostNothing) {
    for (const uint32_t category : {0u, 2u, 3u, 8u, 256u, 0x10001u, 0xFFFFFFFFu})
        for (uint32_t notification = 0; notification <= 9; ++notification)
            EXPECT_EQ(notify(notification, nullptr, category), 0u);
    EXPECT_THAT(posted(), IsEmpty());
    EXPECT_THAT(service.operations(), IsEmpty());
}

TEST_F(NotificationTest, OtherCategoryIsNamedInTheLog) {
    notify(1, nullptr, 2);
    EXPECT_EQ(machine.logTexts().front(), entryText(1, 2));
}

TEST_F(NotificationTest, HandleIsCutTo16BitsInTheMessageOnly) {
    notify(1, nullptr, 1, 0x12348001);
    notify(8, nullptr, 1, 0x12348001);
    EXPECT_THAT(posted(), ElementsAre(Posted{window, 0x63C, 0x18001, 0}, Posted{window, 0x601, 0x18001, 1024}));
    EXPECT_EQ(machine.logTexts().front(), entryText(1, 1, 0x12348001));
    EXPECT_EQ(service.lastCall("OrxGetStringPrinter").number(1), 0x12348001u);
}

TEST_F(NotificationTest, NotificationsTakeNoAlertIds) {
    notify(1);
    notify(8);
    deliver(powerOnReset());
    ASSERT_THAT(posted(), SizeIs(3));
    EXPECT_EQ(posted()[2].wParam, 5u);
}

TEST_F(AlertTest, NotificationWithoutAWindowIsIgnored) {
    ASSERT_EQ(controlMode(5, 2), KAL_OKAY);
    onNotification = notificationCallback();
    forget();
    EXPECT_EQ(notify(8), 0u);
    EXPECT_THAT(posted(), IsEmpty());
    EXPECT_THAT(service.operations(), IsEmpty());
    EXPECT_THAT(machine.logTexts(),
                ElementsAre("KalNotificationCallback() handle=5 notification=8 category=1",
                            "0, No clients are registered for alerts, so we cannot send notifications."));
}

TEST_F(NotificationTest, NotificationAfterTheLastUnregistrationAnswersOne) {
    unregisterApp();
    forget();
    for (uint32_t notification = 0; notification <= 9; ++notification)
        EXPECT_EQ(notify(notification), 1u);
    EXPECT_THAT(posted(), IsEmpty());
    EXPECT_THAT(service.sequence(), IsEmpty());
    registerApp();
}

} // namespace
} // namespace kal::test
