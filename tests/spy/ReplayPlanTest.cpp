#include "simulator/replay/ReplayPlan.h"
#include "tests/spy/RecordingText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <utility>

using namespace kal::test;
using simulator::ReplayPlan;
using testing::IsEmpty;
using testing::SizeIs;

TEST(ReplayPlan, EqualCallsAreAnsweredInTheirOrder) {
    RecordingText recording;
    recording.whole("OrxOpenPrinter", handleOf(5), 170);
    recording.whole("OrxOpenPrinter", handleOf(6), 1);
    recording.whole("OrxOpenPrinter", handleOf(5), 0);
    ReplayPlan plan(recording.read());
    EXPECT_EQ(plan.take("OrxOpenPrinter", handleOf(5))->end->result, 170u);
    EXPECT_EQ(plan.take("OrxOpenPrinter", handleOf(5))->end->result, 0u);
    EXPECT_EQ(plan.take("OrxOpenPrinter", handleOf(6))->end->result, 1u);
}

TEST(ReplayPlan, CallThatWasNotRecordedHasNoAnswer) {
    RecordingText recording;
    recording.whole("OrxOpenPrinter", handleOf(5));
    ReplayPlan plan(recording.read());
    EXPECT_EQ(plan.take("OrxOpenPrinter", handleOf(6)), nullptr);
    EXPECT_EQ(plan.take("OrxClosePrinter", handleOf(5)), nullptr);
    EXPECT_FALSE(plan.knows("OrxClosePrinter", handleOf(5)));
}

TEST(ReplayPlan, CallThatComesTooOftenHasNoAnswerButIsKnown) {
    RecordingText recording;
    recording.whole("OrxOpenPrinter", handleOf(5));
    ReplayPlan plan(recording.read());
    EXPECT_NE(plan.take("OrxOpenPrinter", handleOf(5)), nullptr);
    EXPECT_EQ(plan.take("OrxOpenPrinter", handleOf(5)), nullptr);
    EXPECT_TRUE(plan.knows("OrxOpenPrinter", handleOf(5)));
}

TEST(ReplayPlan, AddressesAndFunctionsFitAnyOther) {
    RecordingText recording;
    recording.whole("OrxEnumPrinters", {{"callback", {{"callback", 3}}}, {"property", {{"address", "1000"}}}});
    ReplayPlan plan(recording.read());
    EXPECT_NE(plan.take("OrxEnumPrinters", {{"callback", {{"callback", 1}}}, {"property", {{"address", "2000"}}}}),
              nullptr);
}

TEST(ReplayPlan, NullFitsNoFunction) {
    RecordingText recording;
    recording.whole("OrxEnumPrinters", {{"callback", {{"callback", 3}}}});
    ReplayPlan plan(recording.read());
    EXPECT_EQ(plan.take("OrxEnumPrinters", {{"callback", nullptr}}), nullptr);
}

TEST(ReplayPlan, CallbackWithinBelongsToItsCall) {
    RecordingText recording;
    const auto call = recording.call("OrxEnumPrinters", handleOf(5));
    recording.callback("enum", 1, {{"handle", 7}}, 0, call);
    recording.callback("enum", 1, {{"handle", 8}}, 0, call);
    recording.answer(call, "OrxEnumPrinters", 0);
    ReplayPlan plan(recording.read());
    const auto within = plan.callbacksWithin(*plan.take("OrxEnumPrinters", handleOf(5)));
    ASSERT_THAT(within, SizeIs(2));
    EXPECT_EQ(within[0]->begin.values["handle"], 7);
    EXPECT_EQ(within[1]->begin.values["handle"], 8);
    EXPECT_THAT(plan.callbacksByThemselves(), IsEmpty());
}

TEST(ReplayPlan, CallbackByItselfFollowsTheEventBeforeIt) {
    RecordingText recording;
    recording.callback("alert", 1, {{"handle", 5}});                     // 1 and 2 ms
    recording.whole("OrxOpenPrinter", handleOf(5));                      // 3 and 4 ms
    recording.callback("alert", 1, {{"handle", 5}});                     // 5 and 6 ms
    const auto closing = recording.call("OrxClosePrinter", handleOf(5)); // 7 ms
    recording.callback("alert", 1, {{"handle", 5}});                     // 8 ms
    recording.answer(closing, "OrxClosePrinter", 0);
    ReplayPlan plan(recording.read());
    const auto &callbacks = plan.callbacksByThemselves();
    ASSERT_THAT(callbacks, SizeIs(3));
    EXPECT_EQ(callbacks[0].anchor, nullptr);
    EXPECT_EQ(callbacks[1].anchor->begin.entryPoint, "OrxOpenPrinter");
    EXPECT_TRUE(callbacks[1].isAfterReturn);
    EXPECT_EQ(callbacks[1].delay, 1000);
    EXPECT_EQ(callbacks[2].anchor->begin.entryPoint, "OrxClosePrinter");
    EXPECT_FALSE(callbacks[2].isAfterReturn);
}

TEST(ReplayPlan, CallbackAfterAReturnFollowsItThoughAnEarlierCallIsStillOpen) {
    RecordingText recording;
    const auto slow = recording.call("OrxEnumPrinters", handleOf(5));
    recording.whole("OrxOpenPrinter", handleOf(6));
    recording.callback("alert", 1, {{"handle", 6}});
    recording.answer(slow, "OrxEnumPrinters", 0);
    recording.callback("alert", 1, {{"handle", 5}});
    const ReplayPlan plan(recording.read());
    const auto &callbacks = plan.callbacksByThemselves();
    ASSERT_THAT(callbacks, SizeIs(2));
    EXPECT_EQ(callbacks[0].anchor->begin.entryPoint, "OrxOpenPrinter");
    EXPECT_TRUE(callbacks[0].isAfterReturn);
    EXPECT_EQ(callbacks[1].anchor->begin.entryPoint, "OrxEnumPrinters");
    EXPECT_TRUE(callbacks[1].isAfterReturn);
}

// The plan is made inside DllMain of the simulator, so it must be fast.
TEST(ReplayPlan, TimeGrowsWithTheRecordingAndNotWithItsSquare) {
    RecordingText text;
    for (int number = 0; number < 40000; ++number) {
        text.whole("OrxOpenPrinter", handleOf(number % 100));
        text.callback("alert", 1, {{"handle", 5}});
    }
    auto recording = text.read();
    const auto begin = std::chrono::steady_clock::now();
    const ReplayPlan plan(std::move(recording));
    EXPECT_LT(std::chrono::steady_clock::now() - begin,
              std::chrono::seconds(10)); // takes half a second; with quadratic time, half a minute
    EXPECT_THAT(plan.callbacksByThemselves(), SizeIs(40000));
}

TEST(ReplayPlan, MissingEntryPointsAreThoseOfTheFirstLoad) {
    RecordingText recording;
    recording.load(Json::array({"OrxInstall"}));
    const ReplayPlan plan(recording.read());
    EXPECT_TRUE(plan.isMissing("OrxInstall"));
    EXPECT_FALSE(plan.isMissing("OrxInitialize"));
}
