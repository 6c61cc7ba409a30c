#include "recording/RecordLine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace recording;
using testing::HasSubstr;

namespace {

RecordEvent callOf(const char *entryPoint) {
    RecordEvent event;
    event.number = 7;
    event.time = 1234;
    event.thread = 32;
    event.entryPoint = entryPoint;
    event.values["handle"] = 5;
    return event;
}

/// A call with one argument.
std::string lineWith(const std::string &name, const std::string &value) {
    return R"({"event":"call","number":1,"time":1,"thread":9,"entryPoint":"OrxOpenPrinter","arguments":{")" + name +
           "\":" + value + "}}";
}

template <class Read>
std::string errorOf(Read read) {
    try {
        read();
    } catch (const RecordingError &error) {
        return error.what();
    }
    return "nothing was raised";
}

} // namespace

TEST(RecordLine, CallLooksSo) {
    EXPECT_EQ(
        composeLine(callOf("OrxOpenPrinter")),
        R"({"event":"call","number":7,"time":1234,"thread":32,"entryPoint":"OrxOpenPrinter","arguments":{"handle":5}})");
}

TEST(RecordLine, HeaderIsReadBack) {
    const RecordingHeader header{276, "C:\\Kal\\kal.exe", "C:\\Kal\\comc-real.dll", "2012-03-05T14:07:09.123456Z",
                                 true};
    const auto read = parseHeader(composeHeader(header));
    EXPECT_EQ(read.process, 276u);
    EXPECT_EQ(read.program, header.program);
    EXPECT_EQ(read.service, header.service);
    EXPECT_EQ(read.started, header.started);
    EXPECT_TRUE(read.redacted);
}

TEST(RecordLine, EveryEventIsReadBackAsItWas) {
    for (const auto kind : {EventKind::load, EventKind::unload, EventKind::bytes, EventKind::call,
                            EventKind::callReturn, EventKind::callback, EventKind::callbackReturn}) {
        auto event = callOf(kind == EventKind::call || kind == EventKind::callReturn ? "OrxOpenPrinter" : "");
        event.kind = kind;
        event.within = 3;
        event.callback = 2;
        event.callbackKind = "alert";
        event.result = 170;
        event.lastError = 5;
        event.argument = "data";
        event.isOutput = true;
        event.offset = 32768;
        event.hex = "00ff";
        if (kind == EventKind::load) {
            event.values = Json::array({"OrxInstall"});
        }
        EXPECT_EQ(composeLine(parseLine(composeLine(event))), composeLine(event));
    }
}

TEST(RecordLine, ExceptionHasNoResult) {
    auto event = callOf("OrxOpenPrinter");
    event.kind = EventKind::callReturn;
    event.raised = true;
    EXPECT_THAT(composeLine(event), HasSubstr(R"("raised":true)"));
    EXPECT_THAT(composeLine(event), testing::Not(HasSubstr("result")));
    EXPECT_TRUE(parseLine(composeLine(event)).raised);
}

TEST(RecordLine, TextOfNoRecordingIsNone) {
    for (const char *text : {"", "{}", "hello", "[1]", R"({"recording":"other","format":1})"}) {
        EXPECT_EQ(errorOf([&] { static_cast<void>(parseHeader(text)); }), "this is no recording of the spy") << text;
    }
}

TEST(RecordLine, OtherFormatIsRefused) {
    EXPECT_EQ(errorOf([] { static_cast<void>(parseHeader(R"({"recording":"comc.dll","format":2})")); }),
              "the recording has format 2, known is 1");
}

TEST(RecordLine, CutLineIsBroken) {
    const auto line = composeLine(callOf("OrxOpenPrinter"));
    for (size_t length = 1; length < line.size(); ++length) {
        EXPECT_THROW(static_cast<void>(parseLine(line.substr(0, length))), BrokenLine) << length;
    }
}

TEST(RecordLine, UnknownEntryPointIsNamed) {
    EXPECT_EQ(errorOf([] { static_cast<void>(parseLine(composeLine(callOf("OrxPaintPrinter")))); }),
              "comc.dll has no entry point \"OrxPaintPrinter\"");
}

TEST(RecordLine, MissingMemberIsNamed) {
    EXPECT_EQ(errorOf([] { static_cast<void>(parseLine(R"({"event":"call","number":1,"time":"x"})")); }),
              "the line has no \"time\", or one of the wrong type");
}

TEST(RecordLine, ValuesThatTheSpyComposesAreRead) {
    for (const char *value : {"null", "\"text\"", "4294967295", R"({"length":2,"hex":"00ff"})",
                              R"({"length":90000,"sha256":"0f","pieces":3})", R"({"output":true})", R"({"callback":1})",
                              R"({"address":"5a5a","length":5})"}) {
        EXPECT_EQ(parseLine(lineWith("data", value)).values["data"].dump(), value);
    }
}

TEST(RecordLine, OtherValuesAreRefused) {
    for (const char *value :
         {"-1", "4294967296", "0.5", "true", "[]", R"({"length":2,"hex":"00f"})", R"({"length":1,"hex":"00ff"})",
          R"({"length":1,"hex":"0g"})", R"({"length":1,"hex":7})", R"({"hex":"00"})", R"({"length":1,"sha256":7})",
          R"({"length":"1"})", R"({"address":"\n"})", R"({"callback":{}})", R"({"output":[]})", R"({"other":1})"}) {
        EXPECT_EQ(errorOf([&] { static_cast<void>(parseLine(lineWith("data", value))); }),
                  "there is no value like \"data\" of the line's \"arguments\"")
            << value;
    }
}

TEST(RecordLine, ValueOfManyLevelsIsRefused) {
    constexpr int levels = 500'000;
    EXPECT_THROW(static_cast<void>(parseLine(lineWith("data", std::string(levels, '[') + std::string(levels, ']')))),
                 RecordingError);
}

TEST(RecordLine, NameThatWouldBreakALineIsRefused) {
    EXPECT_EQ(errorOf([] { static_cast<void>(parseLine(lineWith("a\\nb", "5"))); }),
              R"(there is no value like "a\nb" of the line's "arguments")");
}

TEST(RecordLine, TimeBeyondACenturyIsRefused) {
    auto event = callOf("OrxOpenPrinter");
    event.time = 3'153'600'000'000'000;
    EXPECT_EQ(parseLine(composeLine(event)).time, event.time);
    ++event.time;
    EXPECT_EQ(errorOf([&] { static_cast<void>(parseLine(composeLine(event))); }),
              "the line's \"time\" is later than any recording lasts");
    event.time = -1;
    EXPECT_EQ(errorOf([&] { static_cast<void>(parseLine(composeLine(event))); }),
              "the line has no \"time\", or one of the wrong type");
}

TEST(RecordLine, UnknownEventIsNamed) {
    EXPECT_EQ(errorOf([] { static_cast<void>(parseLine(R"({"event":"dance"})")); }), "there is no event \"dance\"");
}

TEST(RecordLine, BytesAreReadBack) {
    const std::string bytes("\x00\x7f\xff%", 4);
    EXPECT_EQ(hexadecimal(bytes.data(), bytes.size()), "007fff25");
    EXPECT_EQ(bytesOf("007fff25"), bytes);
    EXPECT_THROW(static_cast<void>(bytesOf("0")), RecordingError);
    EXPECT_THROW(static_cast<void>(bytesOf("0g")), RecordingError);
}
