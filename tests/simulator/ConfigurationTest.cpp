#include "simulator/configuration/Configuration.h"

#include "simulator/configuration/AlertFormat.h"
#include "simulator/configuration/DefaultConfiguration.h"

#include <string>

#include <gtest/gtest.h>

using namespace simulator;

namespace {

std::string withPrinter(const std::string &members) {
    return R"({"printers":[{"handle":1,"transport":"USB1","port":"USB001","device":"BpdPrinter")" +
           (members.empty() ? "" : "," + members) + "}]}";
}

std::string withTimeline(const std::string &entry) {
    return R"({"printers":[{"handle":1,"transport":"USB1","port":"USB001","device":"BpdPrinter"}],"timeline":[)" +
           entry + "]}";
}

std::string withEntryPoints(const std::string &members) {
    return R"({"printers":[],"entryPoints":{)" + members + "}}";
}

/// "line:column: message" of what is wrong with a text.
std::string errorOf(const std::string &text) {
    try {
        static_cast<void>(readConfiguration(text));
        return "no error";
    } catch (const ConfigurationError &error) {
        return std::to_string(error.line()) + ":" + std::to_string(error.column()) + ": " + error.what();
    }
}

PrinterConfiguration printerOf(const std::string &members) {
    return readConfiguration(withPrinter(members)).printers.at(0);
}

TEST(Configuration, BuiltInOneHasAPrinterOfEachTransportAndBothKinds) {
    const auto printers = readConfiguration(defaultConfiguration()).printers;
    ASSERT_EQ(printers.size(), 4u);
    EXPECT_EQ(printers[0].transport, "IPv4");
    EXPECT_EQ(printers[1].transport, "HBN3");
    EXPECT_EQ(printers[2].transport, "USB1");
    EXPECT_EQ(printers[3].transport, "PAR1");
    EXPECT_EQ(printers[0].device, "CpdPrinter");
    EXPECT_EQ(printers[1].device, "BpdPrinter");
    EXPECT_TRUE(printers[1].macAddress.has_value());
    EXPECT_EQ(printers[3].port.substr(0, 3), "LPT");
}

TEST(Configuration, BuiltInHandlesCarryTheirKindOfConnection) {
    const auto printers = readConfiguration(defaultConfiguration()).printers;
    EXPECT_EQ(printers[0].handle & 0x7800, 0x6000);
    EXPECT_EQ(printers[1].handle & 0x7800, 0x4000);
    EXPECT_EQ(printers[3].handle & 0x7800, 0x1000);
}

struct BadText {
    const char *text;
    const char *error;
};

class BadConfiguration : public testing::TestWithParam<BadText> {};

TEST_P(BadConfiguration, IsToldWithItsPlace) {
    EXPECT_EQ(errorOf(GetParam().text), GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    Places, BadConfiguration,
    testing::Values(
        BadText{"", "1:1: syntax error while parsing value - unexpected end of input; expected '[', '{', or a literal"},
        BadText{"{\n  \"printers\": [\n}",
                "3:1: syntax error while parsing value - unexpected '}'; expected '[', '{', or a literal"},
        BadText{"[]", "1:1: the configuration must be an object"},
        BadText{"{}", "1:1: the configuration lacks \"printers\""},
        BadText{"{\"printers\":\n 5}", "2:2: \"printers\" must be an array"},
        BadText{"{\"printers\":[],\n\n  \"prnters\": 1}", "3:14: the configuration has no \"prnters\""},
        BadText{"{\"printers\":[],\"printers\":[]}", "1:16: \"printers\" stands here twice"},
        BadText{"{\"printers\":[],\"spool\":true}", "1:24: \"spool\" must be a string"},
        BadText{"{\"printers\":[],\"logCalls\":0}", "1:27: \"logCalls\" must be true or false"},
        BadText{"{\"printers\":[],\"spoolCapacity\":-1}",
                "1:32: \"spoolCapacity\" must be a whole number from 0 to 18446744073709551615"},
        BadText{"{\"printers\":[\n {\"handle\":1}]}", "2:2: a printer lacks \"transport\""},
        BadText{"{\"printers\":[], \"entryPoints\":{\"OrxFly\":[]}}", "1:41: there is no entry point \"OrxFly\""},
        BadText{"{\"printers\":[], \"timeline\":[{\"printer\":9,\"alert\":\"empty\"}]}",
                "1:40: there is no such printer"}));

TEST(Configuration, NumberThatDoesNotFitIsToldWithItsRange) {
    EXPECT_EQ(errorOf(R"({"printers":[{"handle":65536}]})"), "1:24: \"handle\" must be a whole number from 0 to 65535");
    EXPECT_EQ(errorOf(R"({"printers":[{"handle":1.5}]})"), "1:24: \"handle\" must be a whole number from 0 to 65535");
}

TEST(Configuration, HandleMayBeHexadecimalText) {
    const auto text = R"({"printers":[{"handle":"0xFffE","transport":"USB1","port":"p","device":"BpdPrinter"}]})";
    EXPECT_EQ(readConfiguration(text).printers[0].handle, 0xFFFE);
}

TEST(Configuration, OtherHandleTextsAreRefused) {
    for (const char *handle : {"\"6001\"", "\"0x\"", "\"0x10000\"", "\"0x12g\"", "\"\""}) {
        EXPECT_EQ(errorOf(std::string(R"({"printers":[{"handle":)") + handle + "}]}"),
                  "1:24: \"handle\" must be a number from 0 to 65535 or a string such as \"0x6001\"")
            << handle;
    }
}

TEST(Configuration, TwoPrintersOfOneHandleAreRefused) {
    const std::string printer = R"({"handle":1,"transport":"USB1","port":"p","device":"BpdPrinter"})";
    EXPECT_EQ(errorOf("{\"printers\":[" + printer + ",\n" + printer + "]}"), "2:1: two printers have the handle 1");
}

TEST(Configuration, BytesMayHaveSeparators) {
    EXPECT_EQ(printerOf(R"("cache":{"bytes":"A5 0b:0C-0dff"})").cache, (Bytes{0xA5, 0x0B, 0x0C, 0x0D, 0xFF}));
}

TEST(Configuration, BrokenBytesAreRefused) {
    for (const char *bytes : {"A", "A 5", "zz", "A5 0", "0x50"}) {
        EXPECT_EQ(errorOf(withPrinter(std::string("\n\"cache\":{\"bytes\":\"") + bytes + "\"}")),
                  "2:18: \"bytes\" must be pairs of hexadecimal digits")
            << bytes;
    }
}

TEST(Configuration, MacAddressNeedsSixBytes) {
    EXPECT_EQ(errorOf(withPrinter("\n\"macAddress\":\"00:01:02:03:04\"")), "2:14: \"macAddress\" must have six bytes");
}

TEST(Configuration, NullTransportCannotBeRead) {
    EXPECT_FALSE(readConfiguration(R"({"printers":[{"handle":1,"transport":null,"port":"p","device":""}]})")
                     .printers[0]
                     .transport);
}

TEST(Configuration, StateMayBeANameOrANumber) {
    EXPECT_EQ(printerOf("").state, 3u);
    EXPECT_EQ(printerOf(R"("state":"error")").state, 2u);
    EXPECT_EQ(printerOf(R"("state":77)").state, 77u);
}

TEST(Configuration, PropertiesHaveThreeTypes) {
    const auto properties = printerOf(R"("properties":{"a":"text","b":5,"c":{"bytes":"01"}})").properties;
    EXPECT_EQ(std::get<std::string>(properties.at("a")), "text");
    EXPECT_EQ(std::get<uint32_t>(properties.at("b")), 5u);
    EXPECT_EQ(std::get<Bytes>(properties.at("c")), Bytes{1});
}

TEST(Configuration, BidiAnswerHasOneForm) {
    EXPECT_EQ(errorOf(withPrinter("\"bidi\":[\n{\"request\":\"A5\",\"answer\":\"\",\"answerText\":\"\"}]")),
              "2:1: a bidi answer has one of \"answer\", \"answerText\" and \"response\"");
}

TEST(Configuration, RawTcpTakesPort9100ByDefault) {
    const auto target = printerOf(R"("rawTcp":{"host":"127.0.0.1"})").rawTcp;
    EXPECT_EQ(target->host, "127.0.0.1");
    EXPECT_EQ(target->port, 9100);
}

TEST(Configuration, EndOfJobFlagMayBeLeftOut) {
    EXPECT_EQ(printerOf("").endOfJobFlag, 1u);
    EXPECT_EQ(printerOf(R"("endOfJobFlag":9)").endOfJobFlag, 9u);
    EXPECT_FALSE(printerOf(R"("endOfJobFlag":null)").endOfJobFlag);
}

TEST(Configuration, MisbehaviourMayBeOneObjectOrMany) {
    EXPECT_EQ(readConfiguration(withEntryPoints(R"("OrxWritePrinter":{"accept":5})"))
                  .entryPoints.at("OrxWritePrinter")[0]
                  .accept,
              5u);
    EXPECT_EQ(readConfiguration(withEntryPoints(R"("OrxOpenPrinter":[{"call":1,"code":2},{"delayMs":3}])"))
                  .entryPoints.at("OrxOpenPrinter")
                  .size(),
              2u);
}

TEST(Configuration, CallAndFromCallExcludeEachOther) {
    EXPECT_EQ(errorOf(withEntryPoints("\"OrxOpenPrinter\":\n{\"call\":1,\"fromCall\":1}")),
              "2:1: a misbehaviour has \"call\" or \"fromCall\", not both");
}

TEST(Configuration, CallZeroIsRefused) {
    EXPECT_EQ(errorOf(withEntryPoints("\"OrxOpenPrinter\":\n{\"call\":0}")), "2:1: calls count from 1");
}

TEST(Configuration, MissingTakesNoCall) {
    EXPECT_EQ(errorOf(withEntryPoints("\"OrxOpenPrinter\":\n{\"call\":2,\"missing\":true}")),
              "2:1: an entry point is missing for good: \"missing\" takes no \"call\" or \"fromCall\"");
}

TEST(Configuration, TimelineFindsThePrinterByHandleOrPort) {
    EXPECT_EQ(readConfiguration(withTimeline(R"({"printer":1,"alert":"empty"})")).timeline[0].handle, 1);
    EXPECT_EQ(readConfiguration(withTimeline(R"({"printer":"USB001","alert":"empty"})")).timeline[0].handle, 1);
}

TEST(Configuration, NamedAlertIsThatOfThePrintersKind) {
    EXPECT_EQ(readConfiguration(withTimeline(R"({"printer":1,"alert":"tonerLow"})")).timeline[0].alert,
              alertByName("tonerLow", DeviceKind::bpdPrinter));
    EXPECT_EQ(errorOf(withTimeline("{\"printer\":1,\n\"alert\":\"powerOnReset\"}")).substr(0, 44),
              "2:9: a BpdPrinter has no such alert; there a");
}

TEST(Configuration, AlertIsNamedOrGivenNotBoth) {
    EXPECT_EQ(errorOf(withTimeline("\n{\"printer\":1,\"alert\":\"tonerLow\",\"alertBytes\":\"0102\"}")),
              "2:1: one entry has \"alert\" or \"alertBytes\", not both");
}

TEST(Configuration, AlertIsCutOrFilledToItsLength) {
    EXPECT_EQ(readConfiguration(withTimeline(R"({"printer":1,"alertBytes":"0102","alertLength":4})")).timeline[0].alert,
              (Bytes{1, 2, 0, 0}));
    EXPECT_EQ(readConfiguration(withTimeline(R"({"printer":1,"alert":"warning","alertLength":1})")).timeline[0].alert,
              Bytes{0xA5});
    EXPECT_EQ(readConfiguration(withTimeline(R"({"printer":1,"alert":"warning","alertLength":65535})"))
                  .timeline[0]
                  .alert->size(),
              65535u);
}

TEST(Configuration, NotificationMayBeANameOrANumber) {
    EXPECT_EQ(
        readConfiguration(withTimeline(R"({"printer":1,"notification":"trueEndOfJob"})")).timeline[0].notification, 8u);
    EXPECT_EQ(readConfiguration(withTimeline(R"({"printer":1,"notification":99})")).timeline[0].notification, 99u);
}

TEST(Configuration, TimelineEntryHasOneAlertOrOneNotification) {
    const auto expected = "1:97: a timeline entry has one alert or one notification";
    EXPECT_EQ(errorOf(withTimeline(R"({"printer":1})")), expected);
    EXPECT_EQ(errorOf(withTimeline(R"({"printer":1,"alert":"empty","notification":1})")), expected);
}

TEST(Configuration, DeepNestingIsRefusedAndDoesNotExhaustTheStack) {
    EXPECT_EQ(errorOf(std::string(100000, '[')), "1:65: nested too deep");
}

TEST(Configuration, EveryCutOfTheBuiltInTextIsAnErrorWithAPlaceInIt) {
    const std::string whole(defaultConfiguration());
    for (size_t length = 0; length < whole.size() - 1; ++length) {
        EXPECT_NE(errorOf(whole.substr(0, length)), "no error") << length;
    }
}

} // namespace
