#include "tools/log/Timeline.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <initializer_list>
#include <string>

namespace {

using Json = nlohmann::json;

struct Composed {
    Json document;
    size_t calls;
    size_t unfinished;
    size_t lines;

    /// The events with this phase ("X" for spans, "i" for marks), in the order of the document.
    [[nodiscard]] std::vector<Json> events(const std::string &phase) const {
        std::vector<Json> found;
        for (const Json &event : document["traceEvents"]) {
            if (event["ph"] == phase) {
                found.push_back(event);
            }
        }
        return found;
    }
    [[nodiscard]] Json span(const std::string &name) const {
        for (const Json &event : events("X")) {
            if (event["name"] == name) {
                return event;
            }
        }
        return {};
    }
};

Composed compose(std::initializer_list<std::string> lines) {
    std::string text;
    tool::Timeline timeline([&](std::string_view piece) { text += piece; });
    for (const std::string &line : lines) {
        timeline.add(line);
    }
    timeline.finish();
    return {Json::parse(text), timeline.callCount(), timeline.unfinishedCount(), timeline.lineCount()};
}

std::string at(const std::string &milliseconds, const std::string &thread, const std::string &text) {
    return "2012/03/05-14:07:09." + milliseconds + " pid=000a tid=" + thread + " LegacyClient    " + text;
}

} // namespace

TEST(Timeline, LogWithoutLinesIsADocumentWithoutEvents) {
    const auto composed = compose({});
    EXPECT_TRUE(composed.document["traceEvents"].is_array());
    EXPECT_TRUE(composed.document["traceEvents"].empty());
}

TEST(Timeline, CallIsASpanWithArgumentsAndResult) {
    const auto composed = compose({at("040", "000b", "+KalWrite() handle=5 byteCount=9"),
                                   at("047", "000b", "-KalWrite() handle=5 byteCount=9 rc=0, bytesWritten=9")});
    const Json span = composed.span("KalWrite");
    EXPECT_EQ(span["pid"], 10);
    EXPECT_EQ(span["tid"], 11);
    EXPECT_EQ(span["cat"], "LegacyClient");
    EXPECT_EQ(span["ts"], 1330956429040000);
    EXPECT_EQ(span["dur"], 7000);
    EXPECT_EQ(span["args"], Json::parse(R"({"call":"KalWrite() handle=5 byteCount=9","handle":"5","byteCount":"9",
                                            "result":"0, bytesWritten=9","milliseconds":7})"));
    EXPECT_FALSE(span.contains("cname"));
    EXPECT_EQ(composed.calls, 1u);
    EXPECT_EQ(composed.unfinished, 0u);
    EXPECT_EQ(composed.lines, 2u);
}

TEST(Timeline, LinesOfOneMillisecondKeepTheirOrder) {
    const auto composed =
        compose({at("040", "000b", "+KalWriteOverlapped() handle=5"), at("040", "000b", "+KalWrite() handle=5"),
                 at("040", "000b", "-KalWrite() handle=5"), at("040", "000b", "-KalWriteOverlapped() handle=5")});
    const Json outer = composed.span("KalWriteOverlapped");
    const Json inner = composed.span("KalWrite");
    EXPECT_EQ(inner["ts"].get<int64_t>(), outer["ts"].get<int64_t>() + 1);
    EXPECT_EQ(inner["dur"], 1);
    EXPECT_EQ(outer["dur"], 3);
    EXPECT_EQ(outer["args"]["milliseconds"], 0);
}

TEST(Timeline, FailureIsMarked) {
    const auto composed = compose(
        {at("040", "000b", "+KalClose() handle=5"), at("041", "000b", "-KalClose() handle=5 rc=DEVERR_INVHANDLE")});
    EXPECT_EQ(composed.span("KalClose")["cname"], "terrible");
}

TEST(Timeline, ThreadsHaveStacksOfTheirOwn) {
    const auto composed =
        compose({at("040", "000b", "+KalClose() handle=5"), at("041", "000c", "+KalClose() handle=5"),
                 at("042", "000b", "-KalClose() handle=5"), at("049", "000c", "-KalClose() handle=5")});
    const auto spans = composed.events("X");
    ASSERT_EQ(spans.size(), 2u);
    EXPECT_EQ(spans[0]["tid"], 11);
    EXPECT_EQ(spans[0]["dur"], 2000);
    EXPECT_EQ(spans[1]["tid"], 12);
    EXPECT_EQ(spans[1]["dur"], 8000);
    EXPECT_EQ(composed.unfinished, 0u);
}

TEST(Timeline, CallsWithoutThreadIdsMayCross) {
    const auto composed = compose(
        {"Bidi            +KalA()", "Bidi            +KalB()", "Bidi            -KalA()", "Bidi            -KalB()"});
    EXPECT_EQ(composed.calls, 2u);
    EXPECT_EQ(composed.unfinished, 0u);
}

TEST(Timeline, CallThatLostItsExitEndsWithTheCallAroundIt) {
    const auto composed = compose({at("040", "000b", "+KalOuter()"), at("041", "000b", "+KalInner()"),
                                   at("049", "000b", "-KalOuter() rc=0"), at("900", "000b", "much later")});
    const Json inner = composed.span("KalInner");
    EXPECT_EQ(inner["args"]["unfinished"], true);
    EXPECT_EQ(inner["dur"], 8000);
    EXPECT_EQ(inner["cname"], "terrible");
    EXPECT_EQ(composed.span("KalOuter")["args"]["result"], "0");
    EXPECT_EQ(composed.unfinished, 1u);
}

TEST(Timeline, CallStillOpenAtTheEndIsKept) {
    const auto composed = compose({at("040", "000b", "+KalOpen() handle =5"), at("045", "000b", "message")});
    EXPECT_EQ(composed.span("KalOpen")["args"]["unfinished"], true);
    EXPECT_EQ(composed.span("KalOpen")["dur"], 5000);
}

TEST(Timeline, ExitWithoutEntryIsAMark) {
    const auto composed = compose({at("040", "000b", "-KalOpen() handle =5 rc=0")});
    ASSERT_EQ(composed.events("i").size(), 1u);
    EXPECT_EQ(composed.events("i")[0]["name"], "-KalOpen() handle =5 rc=0");
    EXPECT_EQ(composed.calls, 0u);
}

TEST(Timeline, MessageIsAMarkOnItsThread) {
    const auto marks = compose({at("040", "000b", "Just before callback")}).events("i");
    ASSERT_EQ(marks.size(), 1u);
    EXPECT_EQ(marks[0]["name"], "Just before callback");
    EXPECT_EQ(marks[0]["s"], "t");
    EXPECT_EQ(marks[0]["tid"], 11);
}

TEST(Timeline, ProcessIsNamedOnce) {
    const auto names = compose({at("040", "000b", "one"), at("041", "000c", "two")}).events("M");
    ASSERT_EQ(names.size(), 1u);
    EXPECT_EQ(names[0]["args"]["name"], "process 0x000A");
}

TEST(Timeline, ClockSetBackByHoursIsFollowed) {
    const auto spans =
        compose({"2012/03/05-14:00:00.000 Bidi            +KalA()", "2012/03/05-10:00:00.000 Bidi            -KalA()"})
            .events("X");
    ASSERT_EQ(spans.size(), 1u);
    EXPECT_EQ(spans[0]["dur"], 0);
}

TEST(Timeline, TextThatIsNoUtf8OrHasQuotesStaysValidJson) {
    const auto composed = compose({at("040", "000b", "+KalX() key=\"\xFF\\\" \x01"), "not a line"});
    EXPECT_EQ(composed.calls, 1u);
    EXPECT_EQ(composed.lines, 1u);
}
