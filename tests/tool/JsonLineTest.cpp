#include "tools/text/JsonLine.h"
#include "tools/text/JsonText.h"

#include <gtest/gtest.h>

#include <string>

using namespace tool;

namespace {

std::string objectWith(std::string_view key, std::string_view value) {
    JsonLine line;
    line.begin();
    line.add(key, value);
    return std::string(line.end());
}

} // namespace

TEST(JsonLine, IsTheTextThatTheTreeOfTheSameMembersGives) {
    JsonLine line;
    line.begin();
    line.add("name", "KalOpen");
    line.add("ts", int64_t{-4711});
    line.add("pid", uint32_t{0xFFFFFFFF});
    line.beginObject("args");
    line.add("handle", "5");
    line.addLiteral("unfinished", "true");
    line.endObject();
    line.beginObject("none");
    line.endObject();
    line.add("cname", "terrible");
    const nlohmann::ordered_json tree = {{"name", "KalOpen"},
                                         {"ts", -4711},
                                         {"pid", 0xFFFFFFFF},
                                         {"args", {{"handle", "5"}, {"unfinished", true}}},
                                         {"none", nlohmann::ordered_json::object()},
                                         {"cname", "terrible"}};
    EXPECT_EQ(line.end(), jsonLine(tree));
}

TEST(JsonLine, EscapesEveryCharacterAsTheTreeDoes) {
    for (int character = 0; character < 256; ++character) {
        const std::string text = {'a', static_cast<char>(character), 'b'};
        const nlohmann::ordered_json value = {{"key", text}};
        const nlohmann::ordered_json key = {{text, "value"}};
        EXPECT_EQ(objectWith("key", text), jsonLine(value)) << character;
        EXPECT_EQ(objectWith(text, "value"), jsonLine(key)) << character;
    }
}

TEST(JsonLine, KeepsUtf8AndReplacesWhatIsNotUtf8) {
    for (const std::string text : {"n\xC3\xA4me", "\xE2\x82\xAC", "\xC3", "\xFF\xFE", "\xE2\x82 x"}) {
        const nlohmann::ordered_json tree = {{"key", text}};
        EXPECT_EQ(objectWith("key", text), jsonLine(tree));
    }
}

TEST(JsonLine, BeginsAnewEachTime) {
    JsonLine line;
    line.begin();
    line.add("first", "1");
    static_cast<void>(line.end());
    line.begin();
    line.add("second", "2");
    EXPECT_EQ(line.end(), R"({"second":"2"})");
}
