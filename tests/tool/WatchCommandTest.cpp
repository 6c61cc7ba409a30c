#include "tests/tool/ToolFixture.h"

#include <gmock/gmock.h>

using namespace kal::test;
using testing::HasSubstr;

namespace {

class WatchCommand : public ToolTest {
  protected:
    void configureTimeline(const std::string &timeline) {
        configure(R"({"logCalls":true,"printers":[
                        {"handle":3,"transport":"USB1","port":"USB001","device":"BpdPrinter"},
                        {"handle":"0x6001","transport":"IPv4","port":"10.0.0.1","device":"CpdPrinter"}],
                      "timeline":[)" +
                  timeline + "]}");
    }
    std::string serviceLog() { return readFile(folder / "spool" / "simulator.log"); }
};

constexpr const char *bpdWarning = R"({"printer":3,"from":"registration","afterMs":100,"alert":"tonerLow"})";

} // namespace

TEST_F(WatchCommand, AlertIsDecodedWithItsBytes) {
    configureTimeline(bpdWarning);
    const ToolRun run = kal("watch 3 --count 1 --seconds 30");
    EXPECT_EQ(run.status, 0) << run.error;
    EXPECT_THAT(run.output, testing::ContainsRegex("..:..:..\\....  0x0003  WM_KAL_WARNINGSEX  warning: alert 0  "
                                                   "73 00 00 00 00 02 01 00 00 00 00"));
}

TEST_F(WatchCommand, JsonHasOneObjectALine) {
    configureTimeline(std::string(bpdWarning) +
                      R"(,{"printer":3,"from":"registration","afterMs":400,"notification":1},
                          {"printer":3,"from":"registration","afterMs":700,"notification":8,"flag":9})");
    const auto messages = kal("watch 3 --count 3 --seconds 30 --json").jsonLines();
    ASSERT_EQ(messages.size(), 3u);
    EXPECT_EQ(messages[0]["message"], "WM_KAL_WARNINGSEX");
    EXPECT_EQ(messages[0]["alertId"], 0);
    EXPECT_EQ(messages[0]["bytes"], "73 00 00 00 00 02 01 00 00 00 00");
    EXPECT_EQ(messages[1]["message"], "WM_KAL_PRINTERSTATUS");
    EXPECT_EQ(messages[1]["stateName"], "printing");
    EXPECT_EQ(messages[2]["message"], "WM_KAL_ENDOFJOB");
    EXPECT_EQ(messages[2]["flag"], 9);
    EXPECT_EQ(messages[2]["portType"], 1024);
}

TEST_F(WatchCommand, WithoutHandlesEveryPrinterIsWatched) {
    configureTimeline(std::string(bpdWarning) +
                      R"(,{"printer":"0x6001","from":"registration","afterMs":400,"alert":"paperJam"})");
    const auto messages = kal("watch --count 2 --seconds 30 --json").jsonLines();
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(messages[0]["handle"], 3);
    EXPECT_EQ(messages[1]["handle"], 0x6001);
    EXPECT_EQ(messages[1]["message"], "WM_KAL_CPD_STATUSCHANGE");
}

TEST_F(WatchCommand, OtherPrintersAreNotShown) {
    configureTimeline(std::string(bpdWarning) +
                      R"(,{"printer":"0x6001","from":"registration","afterMs":100,"alert":"paperJam"})");
    const auto messages = kal("watch 0x6001 --seconds 2 --json").jsonLines();
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0]["handle"], 0x6001);
}

TEST_F(WatchCommand, SecondsEndAQuietWatch) {
    configureTimeline("");
    const auto begin = GetTickCount64();
    const ToolRun run = kal("watch 3 --seconds 2");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output, "");
    EXPECT_GE(GetTickCount64() - begin, 2000u);
}

TEST_F(WatchCommand, EndReleasesThePrinters) {
    configureTimeline("");
    kal("watch 3 0x6001 --seconds 1");
    const std::string log = serviceLog();
    size_t alerts = 0;
    size_t notifications = 0;
    for (size_t at = 0; (at = log.find("OrxUnregisterFor", at)) != std::string::npos; ++at) {
        ++(log.compare(at, 22, "OrxUnregisterForAlerts") == 0 ? alerts : notifications);
    }
    EXPECT_EQ(alerts, 2u) << log;
    EXPECT_EQ(notifications, 2u) << log;
}

TEST_F(WatchCommand, InterruptionEndsCleanlyWithRelease) {
    configureTimeline(bpdWarning);
    const auto running = start("watch 3");
    ASSERT_TRUE(running->waitForOutput("WM_KAL_WARNINGSEX")) << running->output();
    ASSERT_TRUE(running->interrupt());
    EXPECT_EQ(running->finish().status, 0);
    EXPECT_THAT(serviceLog(), HasSubstr("OrxUnregisterForAlertsPrinter"));
}

TEST_F(WatchCommand, SameHandleTwiceIsWatchedOnce) {
    configureTimeline(bpdWarning);
    EXPECT_EQ(kal("watch 3 0x3 3 --seconds 2 --json").jsonLines().size(), 1u);
}

TEST_F(WatchCommand, UnknownPrinterFails) {
    const ToolRun run = kal("watch 77 --seconds 1");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("KalCaptureAlerts answered DEVERR_INVHANDLE (-8)"));
}

TEST_F(WatchCommand, NoPrinterAtAllFails) {
    configure(R"({"printers":[]})");
    EXPECT_THAT(kal("watch --seconds 1").error, HasSubstr("the service knows no printer to watch"));
}

TEST_F(WatchCommand, BurstOfAlertsArrivesWhole) {
    configureTimeline(R"({"printer":3,"from":"registration","afterMs":100,"count":500,"alert":"paperOut"})");
    const auto messages = kal("watch 3 --count 500 --seconds 60 --json").jsonLines();
    ASSERT_EQ(messages.size(), 500u);
    for (size_t at = 0; at < messages.size(); ++at) {
        EXPECT_EQ(messages[at]["alertId"], at);
    }
}
