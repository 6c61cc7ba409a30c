#include "tools/log/LogView.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using tool::LogFilter;
using tool::logLineJson;
using tool::LogView;

namespace {

constexpr const char *fullLine = "2012/03/05-14:07:09.042 pid=0a3c tid=0b04 LegacyClient      +KalOpen() handle =5";

std::string shown(std::string_view line, LogFilter filter = {}, bool coloured = false) {
    return LogView(std::move(filter), coloured).show(line);
}

bool passes(LogFilter filter) {
    return !shown(fullLine, std::move(filter)).empty();
}

} // namespace

TEST(LogView, LineShowsItsFieldsAndIndentation) {
    EXPECT_EQ(shown(fullLine), "--- 2012/03/05\n"
                               "14:07:09.042  pid 0x0A3C  tid 0x0B04  LegacyClient         +KalOpen() handle =5\n");
}

TEST(LogView, LineWithoutHeaderShowsComponentAndText) {
    EXPECT_EQ(shown("Bidi            text"), "Bidi             text\n");
}

TEST(LogView, DayIsShownWhenItChanges) {
    LogView view({}, false);
    EXPECT_NE(view.show("2012/03/05-23:59:59.999 Bidi            x").find("--- 2012/03/05\n"), std::string::npos);
    EXPECT_EQ(view.show("2012/03/05-23:59:59.999 Bidi            x").find("---"), std::string::npos);
    EXPECT_NE(view.show("2012/03/06-00:00:00.000 Bidi            x").find("--- 2012/03/06\n"), std::string::npos);
}

TEST(LogView, EachOpenCallIndentsByTwo) {
    EXPECT_EQ(shown("Bidi               x"), "Bidi                   x\n");
}

TEST(LogView, AbsurdIndentationIsCut) {
    const std::string line = shown("Bidi            " + std::string(100000, ' ') + "x");
    EXPECT_LT(line.size(), 300u);
}

TEST(LogView, FailureIsRedOnlyInColour) {
    const char *const failure = "Bidi            -KalOpen() handle =5 rc=-8";
    EXPECT_NE(shown(failure, {}, true).find("\x1b[31m-KalOpen"), std::string::npos);
    EXPECT_EQ(shown(failure, {}, false).find('\x1b'), std::string::npos);
    EXPECT_EQ(shown("Bidi            -KalOpen() handle =5 rc=0", {}, true).find("\x1b[31m"), std::string::npos);
}

TEST(LogView, RestOfAMessageGoesWithItsLine) {
    LogView view({.component = "bidi"}, false);
    EXPECT_EQ(view.show("stray"), "");
    EXPECT_NE(view.show("Bidi            first"), "");
    EXPECT_EQ(view.show("second line"), "second line\n");
    EXPECT_EQ(view.show("Server          other"), "");
    EXPECT_EQ(view.show("its rest"), "");
}

TEST(LogFilter, EachConditionSelects) {
    EXPECT_TRUE(passes({}));
    EXPECT_TRUE(passes({.processId = 0xA3C}));
    EXPECT_FALSE(passes({.processId = 1}));
    EXPECT_TRUE(passes({.threadId = 0xB04}));
    EXPECT_FALSE(passes({.threadId = 1}));
    EXPECT_TRUE(passes({.component = "legacyclient"}));
    EXPECT_FALSE(passes({.component = "Legacy"}));
    EXPECT_TRUE(passes({.text = "KalOpen"}));
    EXPECT_FALSE(passes({.text = "kalopen"}));
    EXPECT_FALSE(passes({.text = "LegacyClient"}));
}

TEST(LogFilter, LineWithoutIdDoesNotPassAnId) {
    EXPECT_EQ(shown("Bidi            x", {.processId = 0}), "");
}

TEST(LogLineJson, HeaderFieldsAreThereWhenTheLineHasThem) {
    const auto object = nlohmann::json::parse(logLineJson(fullLine, {}));
    EXPECT_EQ(object, nlohmann::json::parse(R"({"time":"2012/03/05-14:07:09.042","pid":2620,"tid":2820,
        "component":"LegacyClient","depth":2,"text":"+KalOpen() handle =5","failure":false})"));
    const auto plain = nlohmann::json::parse(logLineJson("Bidi            x failed", {}));
    EXPECT_FALSE(plain.contains("pid"));
    EXPECT_EQ(plain["failure"], true);
}

TEST(LogLineJson, BytesThatAreNoUtf8AreReplaced) {
    EXPECT_EQ(nlohmann::json::parse(logLineJson("Bidi            \xFF", {}))["text"], "\xEF\xBF\xBD");
}

TEST(LogLineJson, LineThatIsNotShownIsNothing) {
    EXPECT_EQ(logLineJson(fullLine, {.component = "Bidi"}), "");
    EXPECT_EQ(logLineJson("not a line", {}), "");
}
