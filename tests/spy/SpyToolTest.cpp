// The output of kal spy for given recordings.
#include "tests/spy/RecordingText.h"
#include "tools/spy/SpyDiff.h"
#include "tools/spy/SpyTimeline.h"
#include "tools/spy/SpyView.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace kal::test;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using tool::SpyDiff;

namespace {

std::string shown(const RecordingText &recording, tool::SpyFilter filter = {}) {
    tool::SpyView view(std::move(filter));
    std::string text;
    recording::RecordingParser parser([&](const recording::RecordEvent &event) { text += view.show(event); });
    for (const auto &line : recording.lines) {
        parser.add(line);
    }
    return text;
}

std::vector<Json> objects(const RecordingText &recording, tool::SpyFilter filter = {}) {
    tool::SpyObjects composer(std::move(filter));
    std::vector<Json> found;
    recording::RecordingParser parser([&](const recording::RecordEvent &event) {
        if (auto object = composer.add(event); !object.is_null()) {
            found.push_back(std::move(object));
        }
    });
    for (const auto &line : recording.lines) {
        parser.add(line);
    }
    for (auto &object : composer.finish()) {
        found.push_back(std::move(object));
    }
    return found;
}

/// An enumeration that reports one printer.
RecordingText enumeration() {
    RecordingText recording;
    const auto call = recording.call("OrxEnumPrinters", {{"clientId", 100}, {"callback", {{"callback", 1}}}});
    recording.callback("enum", 1, {{"handle", 5}}, 512, call);
    recording.answer(call, "OrxEnumPrinters", 0);
    return recording;
}

Json timelineOf(const RecordingText &recording) {
    std::string text;
    tool::SpyTimeline timeline([&](std::string_view piece) { text += piece; });
    const recording::RecordingParser *self = nullptr;
    recording::RecordingParser parser(
        [&](const recording::RecordEvent &event) { timeline.add(event, self->header()); });
    self = &parser;
    for (const auto &line : recording.lines) {
        parser.add(line);
    }
    timeline.finish();
    return Json::parse(text)["traceEvents"];
}

} // namespace

TEST(SpyView, CallsAndCallbacksAreNested) {
    EXPECT_EQ(shown(enumeration()), "    0.001000  0x0009  +OrxEnumPrinters(clientId=100, callback=#1)\n"
                                    "    0.002000  0x0009    +enum#1(handle=0x0005)\n"
                                    "    0.003000  0x0009    -enum#1 = 512\n"
                                    "    0.004000  0x0009  -OrxEnumPrinters = 0\n");
}

TEST(SpyView, BytesAreShownAsFarAsTheyFit) {
    RecordingText recording;
    recording.whole("OrxGetCachePrinter", handleOf(5), 0,
                    {{"buffer", {{"length", 3}, {"hex", "4100ff"}}}, {"length", 3}});
    recording.whole("OrxWritePrinter", {{"data", {{"length", 70000}, {"sha256", "0123456789abcdef"}, {"pieces", 3}}}});
    EXPECT_THAT(shown(recording), HasSubstr("-OrxGetCachePrinter = 0  buffer=[3 bytes: 41 00 FF], length=3\n"));
    EXPECT_THAT(shown(recording), HasSubstr("data=[70000 bytes, SHA-256 0123456789ab...]"));
}

TEST(SpyView, FailuresAloneAreShownWithTheirCalls) {
    RecordingText recording;
    recording.whole("OrxOpenPrinter", handleOf(5));
    recording.whole("OrxOpenPrinter", handleOf(6), 1168);
    tool::SpyFilter filter;
    filter.failures = true;
    EXPECT_EQ(shown(recording, filter), "    0.003000  0x0009  +OrxOpenPrinter(clientId=100, handle=0x0006)\n"
                                        "    0.004000  0x0009  -OrxOpenPrinter = 1168, last error 5\n");
    EXPECT_THAT(objects(recording, filter), SizeIs(1));
}

TEST(SpyView, EntryPointAndThreadSelect) {
    RecordingText recording;
    recording.whole("OrxOpenPrinter", handleOf(5));
    recording.thread = 10;
    recording.whole("OrxClosePrinter", handleOf(5));
    tool::SpyFilter byName;
    byName.entryPoint = "OrxClosePrinter";
    EXPECT_THAT(shown(recording, byName), testing::Not(HasSubstr("Open")));
    tool::SpyFilter byThread;
    byThread.thread = 9;
    EXPECT_THAT(shown(recording, byThread), testing::Not(HasSubstr("Close")));
    EXPECT_THAT(objects(recording, byThread), SizeIs(1));
}

TEST(SpyView, LoadTellsWhatIsMissing) {
    RecordingText recording;
    recording.load();
    recording.load(Json::array({"OrxInstall"}));
    EXPECT_EQ(shown(recording), "    0.001000  0x0009  loaded\n"
                                "    0.002000  0x0009  loaded, without [\"OrxInstall\"]\n");
}

TEST(SpyObjects, CallIsOneObject) {
    RecordingText recording;
    recording.whole("OrxWritePrinter", handleOf(5), 0, {{"bytesWritten", 3}});
    EXPECT_EQ(objects(recording)[0].dump(),
              R"({"number":1,"time":1000,"duration":1000,"thread":9,"entryPoint":"OrxWritePrinter",)"
              R"("arguments":{"clientId":100,"handle":5},"result":0,"outputs":{"bytesWritten":3}})");
}

TEST(SpyObjects, UnfinishedCallIsToldAtTheEnd) {
    RecordingText recording;
    recording.call("OrxOpenPrinter", handleOf(5));
    EXPECT_EQ(objects(recording).at(0)["unfinished"], true);
}

TEST(SpyTimeline, CallIsASpan) {
    const auto events = timelineOf(enumeration());
    ASSERT_THAT(events, SizeIs(3)); // the first one is the process's name
    EXPECT_EQ(events[1]["name"], "enum callback");
    EXPECT_EQ(events[2]["name"], "OrxEnumPrinters");
    EXPECT_EQ(events[2]["ts"], 1000);
    EXPECT_EQ(events[2]["dur"], 3000);
    EXPECT_EQ(events[2]["args"]["result"], 0);
    EXPECT_FALSE(events[2].contains("cname"));
}

TEST(SpyTimeline, CallHasItsOutputsAndACallbackHasNone) {
    RecordingText recording;
    const auto call = recording.call("OrxEnumPrinters", {{"clientId", 100}});
    recording.callback("enum", 1, {{"handle", 5}}, 512, call);
    recording.answer(call, "OrxEnumPrinters", 0, {{"length", 3}});
    const auto events = timelineOf(recording);
    ASSERT_THAT(events, SizeIs(3));
    EXPECT_EQ(events[1]["args"], (Json{{"handle", 5}, {"result", 512}}));
    EXPECT_EQ(events[2]["args"], (Json{{"clientId", 100}, {"result", 0}, {"outputs", {{"length", 3}}}}));
}

TEST(SpyTimeline, FailureIsColoured) {
    RecordingText recording;
    recording.whole("OrxOpenPrinter", handleOf(6), 1168);
    EXPECT_EQ(timelineOf(recording)[1]["cname"], "terrible");
}

TEST(SpyTimeline, UnfinishedCallEndsWithTheRecording) {
    RecordingText recording;
    recording.call("OrxOpenPrinter", handleOf(5));
    recording.whole("OrxClosePrinter", handleOf(6));
    const auto span = timelineOf(recording).back();
    EXPECT_EQ(span["args"]["unfinished"], true);
    EXPECT_EQ(span["dur"], 2000);
}

TEST(SpyTimeline, EventsOutOfOrderMakeNoNegativeSpan) {
    RecordingText recording;
    recording.lines.push_back(
        R"({"event":"call","number":1,"time":9,"thread":9,"entryPoint":"OrxOpenPrinter","arguments":{}})");
    recording.lines.push_back(R"({"event":"unload","number":2,"time":3,"thread":9})");
    EXPECT_EQ(timelineOf(recording).back()["dur"], 0);
}

// ---------------------------------------------------------------------------------------------------------------- diff

TEST(SpyDiff, RecordingEqualsItself) {
    const auto recording = enumeration().read();
    EXPECT_TRUE(SpyDiff(recording, recording).isEqual());
}

TEST(SpyDiff, TimesThreadsAddressesAndIdentifiersDoNotCount) {
    RecordingText left;
    left.whole("OrxGetClientId", {{"clientId", {{"output", true}}}}, 0, {{"clientId", 100}});
    left.whole("OrxSetDiscoveryDefaults", {{"clientId", 100}, {"defaults", {{"address", "1000"}}}});
    RecordingText right;
    right.thread = 77;
    right.load();
    right.whole("OrxGetClientId", {{"clientId", {{"output", true}}}}, 0, {{"clientId", 222}});
    right.whole("OrxSetDiscoveryDefaults", {{"clientId", 222}, {"defaults", {{"address", "2000"}}}});
    EXPECT_TRUE(SpyDiff(left.read(), right.read()).isEqual());
}

TEST(SpyDiff, OtherClientIdentifierWithinARecordingCounts) {
    RecordingText left;
    left.whole("OrxOpenPrinter", handleOf(5, 100));
    left.whole("OrxClosePrinter", handleOf(5, 100));
    RecordingText right;
    right.whole("OrxOpenPrinter", handleOf(5, 100));
    right.whole("OrxClosePrinter", handleOf(5, 101));
    EXPECT_FALSE(SpyDiff(left.read(), right.read()).isEqual());
}

struct Change {
    const char *what;
    uint32_t result;
    Json arguments;
    Json outputs;
};

class SpyDiffOf : public testing::TestWithParam<Change> {};

TEST_P(SpyDiffOf, IsOneChangedCall) {
    const auto recordingOf = [](const Change &change) {
        RecordingText recording;
        recording.whole("OrxOpenPrinter", handleOf(5));
        recording.whole("OrxWritePrinter", change.arguments, change.result, change.outputs);
        recording.whole("OrxClosePrinter", handleOf(5));
        return recording.read();
    };
    const auto left = recordingOf({"", 0, {{"handle", 5}}, {{"bytesWritten", 4}}});
    const auto right = recordingOf(GetParam());
    const SpyDiff diff(left, right);
    ASSERT_THAT(diff.differences(), SizeIs(1));
    EXPECT_EQ(diff.differences()[0].left->number, 2u);
    EXPECT_EQ(diff.differences()[0].right->number, 2u);
}

INSTANTIATE_TEST_SUITE_P(Changes, SpyDiffOf,
                         testing::Values(Change{"Result", 170, {{"handle", 5}}, {{"bytesWritten", 4}}},
                                         Change{"Argument", 0, {{"handle", 6}}, {{"bytesWritten", 4}}},
                                         Change{"Output", 0, {{"handle", 5}}, {{"bytesWritten", 3}}}),
                         [](const auto &row) { return std::string(row.param.what); });

TEST(SpyDiff, CallMoreIsTheOnlyDifference) {
    RecordingText left;
    RecordingText right;
    for (int count = 0; count < 5; ++count) {
        left.whole("OrxOpenPrinter", handleOf(count));
        right.whole("OrxOpenPrinter", handleOf(count));
        if (count == 2) {
            right.whole("OrxValidatePortName", {{"portName", "USB001"}}, 1168);
        }
    }
    const auto leftRead = left.read();
    const auto rightRead = right.read();
    const SpyDiff diff(leftRead, rightRead);
    ASSERT_THAT(diff.differences(), SizeIs(1));
    EXPECT_EQ(diff.differences()[0].left, nullptr);
    EXPECT_EQ(SpyDiff::describe(diff.differences()[0]),
              "+ 4  OrxValidatePortName(portName=\"USB001\") = 1168, last error 5\n");
    EXPECT_EQ(SpyDiff::object(diff.differences()[0])["left"], nullptr);
    EXPECT_EQ(SpyDiff::object(diff.differences()[0])["right"]["result"], 1168);
}

TEST(SpyDiff, CallbackWithinACallCounts) {
    RecordingText without;
    without.whole("OrxEnumPrinters", {{"clientId", 100}, {"callback", {{"callback", 1}}}});
    const auto left = enumeration().read();
    const auto right = without.read();
    EXPECT_THAT(SpyDiff(left, right).differences(), SizeIs(1));
}

TEST(SpyDiff, CallbackByItselfCountsButNotItsPlace) {
    RecordingText early;
    RecordingText late;
    RecordingText none;
    early.callback("alert", 1, {{"handle", 5}});
    for (auto *recording : {&early, &late, &none}) {
        recording->whole("OrxOpenPrinter", handleOf(5));
    }
    late.callback("alert", 1, {{"handle", 5}});
    EXPECT_TRUE(SpyDiff(early.read(), late.read()).isEqual());
    EXPECT_FALSE(SpyDiff(early.read(), none.read()).isEqual());
}

TEST(SpyDiff, CallbackWithoutHandleIsCompared) {
    RecordingText recording;
    recording.callback("alert", 1, Json::object());
    const auto read = recording.read();
    EXPECT_TRUE(SpyDiff(read, read).isEqual());
}

TEST(SpyDiff, RecordingsWithNothingInCommonDifferInEveryCall) {
    RecordingText left;
    RecordingText right;
    left.whole("OrxOpenPrinter", handleOf(5));
    right.whole("OrxClosePrinter", handleOf(5));
    EXPECT_THAT(SpyDiff(left.read(), right.read()).differences(), SizeIs(2));
}
