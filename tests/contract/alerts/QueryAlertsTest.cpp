#include "tests/contract/alerts/AlertFixture.h"

#include <algorithm>

namespace kal::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

/// One alert with id 0 is stored: 11 bytes.
class KalQueryAlertsTest : public AlertTest {
  protected:
    static constexpr uint16_t storedLength = 11;

    KalQueryAlertsTest() {
        captureForWindow();
        deliver(powerOnReset(16));
        const AlertBytes whole = powerOnReset(16);
        storedBytes.assign(whole.begin() + 5, whole.end());
        forget();
    }

    AlertBytes storedBytes;
    uint16_t size = 0;
};

TEST_F(KalQueryAlertsTest, ExactBufferReceivesTheAlert) {
    GuardedBuffer buffer(storedLength);
    size = storedLength;
    EXPECT_EQ(query(0, buffer.data(), &size), KAL_OKAY);
    EXPECT_EQ(size, storedLength);
    EXPECT_EQ(AlertBytes(buffer.data(), buffer.data() + storedLength), storedBytes);
    EXPECT_THAT(service.sequence(), IsEmpty());
}

TEST_F(KalQueryAlertsTest, LargerBufferReceivesTheAlertAndItsLength) {
    GuardedBuffer buffer(50, 0x55);
    size = 50;
    EXPECT_EQ(query(0, buffer.data(), &size), KAL_OKAY);
    EXPECT_EQ(size, storedLength);
    EXPECT_EQ(AlertBytes(buffer.data(), buffer.data() + storedLength), storedBytes);
    EXPECT_EQ(AlertBytes(buffer.data() + storedLength, buffer.data() + 50), AlertBytes(50 - storedLength, 0x55));
}

class KalQueryAlertsShortTest : public KalQueryAlertsTest, public testing::WithParamInterface<uint16_t> {};

TEST_P(KalQueryAlertsShortTest, ShortBufferIsToldTheLength) {
    GuardedBuffer buffer(GetParam(), 0x55);
    size = GetParam();
    EXPECT_EQ(query(0, buffer.data(), &size), storedLength);
    EXPECT_EQ(size, storedLength);
    EXPECT_EQ(buffer.bytes(), std::string(GetParam(), 0x55));
}

INSTANTIATE_TEST_SUITE_P(Sizes, KalQueryAlertsShortTest, testing::Values(0, 1, 10));

TEST_F(KalQueryAlertsTest, ShortQueryThenTheToldSizeSucceedsAndTheAlertStays) {
    GuardedBuffer buffer(storedLength);
    size = storedLength - 1;
    EXPECT_EQ(query(0, buffer.data(), &size), storedLength);
    EXPECT_EQ(query(0, buffer.data(), &size), KAL_OKAY);
    EXPECT_EQ(query(0, buffer.data(), &size), KAL_OKAY);
}

TEST_F(KalQueryAlertsTest, NullBufferWithSizeZeroIsToldTheLength) {
    EXPECT_EQ(query(0, nullptr, &size), storedLength);
    EXPECT_EQ(size, storedLength);
}

TEST_F(KalQueryAlertsTest, NullBufferThatWouldFitFails) {
    size = 50;
    EXPECT_EQ(query(0, nullptr, &size), KAL_FAIL);
    EXPECT_THAT(machine.logTexts(), Contains("KalQueryAlerts() buffer = NULL"));
}

TEST_F(KalQueryAlertsTest, NullSizeFails) {
    GuardedBuffer buffer(50, 0x55);
    EXPECT_EQ(query(0, buffer.data(), nullptr), KAL_FAIL);
    EXPECT_EQ(buffer.bytes(), std::string(50, 0x55));
    EXPECT_THAT(machine.logTexts(), Contains("KalQueryAlerts() size = NULL"));
}

TEST_F(KalQueryAlertsTest, IdsNeverIssuedFail) {
    GuardedBuffer buffer(50, 0x55);
    for (uint32_t id = 1; id <= 0xFFFF; id = id * 2 + 1) {
        size = 50;
        EXPECT_EQ(query(static_cast<uint16_t>(id), buffer.data(), &size), KAL_FAIL) << id;
        EXPECT_EQ(size, 50) << id;
    }
    EXPECT_EQ(buffer.bytes(), std::string(50, 0x55));
}

TEST_F(AlertTest, NothingIsStoredAtFirst) {
    uint16_t size = 0;
    EXPECT_EQ(query(0, nullptr, &size), KAL_FAIL);
    EXPECT_EQ(size, 0);
    EXPECT_THAT(machine.logTexts(),
                ElementsAre("+KalQueryAlerts()  alertId=0", "-KalQueryAlerts()  alertId=0 rc=KAL_FAIL"));
}

TEST_F(KalQueryAlertsTest, TraceNamesTheNextIdNotTheArgument) {
    deliver(powerOnReset());
    deliver(powerOnReset());
    machine.deleteLog();
    GuardedBuffer buffer(storedLength);
    size = storedLength;
    query(0, buffer.data(), &size);
    EXPECT_THAT(machine.logTexts(),
                ElementsAre("+KalQueryAlerts()  alertId=3", "-KalQueryAlerts()  alertId=3 rc=KAL_OKAY"));
}

TEST_F(KalQueryAlertsTest, UnknownIdIsTraced) {
    query(77, nullptr, &size);
    EXPECT_THAT(machine.logTexts(),
                ElementsAre("+KalQueryAlerts()  alertId=1", "-KalQueryAlerts()  alertId=1 rc=KAL_FAIL"));
}

TEST_F(KalQueryAlertsTest, TooSmallBufferIsTraced) {
    query(0, nullptr, &size);
    const auto texts = machine.logTexts();
    ASSERT_EQ(texts.size(), 3u);
    EXPECT_EQ(texts[0], "+KalQueryAlerts()  alertId=1");
    EXPECT_EQ(texts[1], "buffer size too small");
    EXPECT_THAT(texts[2], StartsWith("-KalQueryAlerts()  alertId=1"));
}

TEST_F(KalQueryAlertsTest, AlertsOutliveReleaseAndUnregistration) {
    release(5);
    EXPECT_EQ(stored(0), storedBytes);
    unregisterApp();
    registerApp();
    EXPECT_EQ(stored(0), storedBytes);
}

TEST_F(KalQueryAlertsTest, AlertOfOneStoredByteNeedsOneByte) {
    service.stringProperty("Device", "BpdPrinter");
    const AlertBytes whole = extendedAlert(1);
    onAlert(5, whole.data(), 6);
    EXPECT_EQ(query(1, nullptr, &size), 1);
    EXPECT_EQ(size, 1);
    GuardedBuffer buffer(1);
    EXPECT_EQ(query(1, buffer.data(), &size), KAL_OKAY);
    EXPECT_EQ(buffer.data()[0], 0x73);
}

TEST_F(KalQueryAlertsTest, LongestAlertThatASizeCanName) {
    machine.removeKey();
    const AlertBytes alert = powerOnReset(65540);
    deliver(alert);
    GuardedBuffer buffer(65535);
    size = 65534;
    EXPECT_EQ(query(1, buffer.data(), &size), 65535);
    EXPECT_EQ(size, 65535);
    EXPECT_EQ(query(1, buffer.data(), &size), KAL_OKAY);
    EXPECT_TRUE(std::equal(alert.begin() + 5, alert.end(), buffer.data()));
}

TEST_F(KalQueryAlertsTest, AlertLongerThanASizeCanNameNeverFits) {
    machine.removeKey();
    deliver(powerOnReset(70000));
    GuardedBuffer buffer(65535, 0x55);
    size = 65535;
    EXPECT_EQ(query(1, buffer.data(), &size), 69995);
    EXPECT_EQ(buffer.bytes(), std::string(65535, 0x55));
}

TEST_F(KalQueryAlertsTest, DirtAboveTheIdIsCutOff) {
    const auto call =
        library.function<int32_t(uint64_t, uint64_t, uint64_t, uint64_t, void *, uint16_t *)>("KalQueryAlerts");
    EXPECT_EQ(call(0xDEADBEEFDEAD0001, 0xDEADBEEFDEAD0000, 1, 2, nullptr, &size), storedLength);
}

} // namespace
} // namespace kal::test
