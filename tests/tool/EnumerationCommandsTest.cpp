#include "tests/tool/ToolFixture.h"

#include <gmock/gmock.h>

using namespace kal::test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

class EnumerationCommands : public ToolTest {
  protected:
    std::vector<int> handles(const std::string &arguments) {
        std::vector<int> found;
        const auto printers = kal(arguments).json();
        for (const auto &printer : printers) {
            found.push_back(printer["handle"]);
        }
        return found;
    }
};

constexpr const char *threeKinds = R"({"printers":[
    {"handle":"0x6001","transport":"IPv4","port":"10.0.0.1","device":"CpdPrinter"},
    {"handle":3,"transport":"USB1","port":"USB001","device":"BpdPrinter"},
    {"handle":"0x1001","transport":"PAR1","port":"LPT1","device":"CpdPrinter"}]})";

} // namespace

TEST_F(EnumerationCommands, ListShowsEveryPrinterByDefault) {
    configure(threeKinds);
    EXPECT_THAT(handles("list --json"), ElementsAre(0x6001, 3, 0x1001));
    EXPECT_THAT(handles("list --all --json"), ElementsAre(0x6001, 3, 0x1001));
    EXPECT_THAT(handles("list --all --usb --json"), ElementsAre(0x6001, 3, 0x1001));
}

TEST_F(EnumerationCommands, ListShowsTheKindsAskedFor) {
    configure(threeKinds);
    EXPECT_THAT(handles("list --network --json"), ElementsAre(0x6001));
    EXPECT_THAT(handles("list --usb --json"), ElementsAre(3));
    EXPECT_THAT(handles("list --parallel --json"), ElementsAre(0x1001));
    EXPECT_THAT(handles("list --usb --parallel --json"), ElementsAre(3, 0x1001));
}

TEST_F(EnumerationCommands, TableNamesHandleClassConnectionAndPort) {
    configure(threeKinds);
    EXPECT_EQ(kal("list").output, "HANDLE  CLASS  CONNECTION      PORT\r\n"
                                  "0x6001  CPD    network (IPv4)  10.0.0.1\r\n"
                                  "0x0003  BPD    USB             USB001\r\n"
                                  "0x1001  CPD    parallel        LPT1\r\n");
}

TEST_F(EnumerationCommands, DiscoverFindsHiddenDevices) {
    configure(R"({"printers":[{"handle":3,"transport":"USB1","port":"USB001","device":"BpdPrinter",
                               "hiddenUntilDiscovery":true}]})");
    EXPECT_THAT(handles("list --json"), ElementsAre());
    EXPECT_THAT(handles("list --discover --json"), ElementsAre(3));
}

TEST_F(EnumerationCommands, NoPrinterIsNoFailure) {
    configure(R"({"printers":[]})");
    const ToolRun run = kal("list");
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.output, HasSubstr("No printers found."));
    EXPECT_EQ(kal("list --json").json(), nlohmann::json::array());
}

TEST_F(EnumerationCommands, MacAddressIsShownForHostBasedPrinters) {
    const auto printer = kal("find HBN3_0002B3C4D5E6 --json").json();
    EXPECT_EQ(printer["macAddress"], "00:02:B3:C4:D5:E6");
    EXPECT_EQ(printer["portType"], 512);
    EXPECT_FALSE(kal("find USB001 --json").json().contains("macAddress"));
}

TEST_F(EnumerationCommands, NameWithControlCharactersCannotSteerTheTerminal) {
    configure(R"({"printers":[{"handle":3,"transport":"USB1","port":"U\u001b[31m\u0007","device":"BpdPrinter"}]})");
    EXPECT_THAT(kal("list").output, HasSubstr("U.[31m."));
    EXPECT_EQ(kal("list --json").json()[0]["portName"], "U\x1b[31m\x07");
}

TEST_F(EnumerationCommands, NameOutsideAsciiStaysValidJson) {
    configure("{\"printers\":[{\"handle\":3,\"transport\":\"USB1\",\"port\":\"US\\u00DF \\u263A\","
              "\"device\":\"BpdPrinter\"}]}");
    EXPECT_EQ(kal("list --json").json()[0]["portName"], "US\xC3\x9F \xE2\x98\xBA");
}

TEST_F(EnumerationCommands, LongNameIsWholeInTheSecondName) {
    const std::string name(200, 'n');
    configure(R"({"printers":[{"handle":3,"transport":"USB1","port":")" + name + R"(","device":"BpdPrinter"}]})");
    const auto printer = kal("list --json").json()[0];
    EXPECT_EQ(printer["portName"], std::string(79, 'n'));
    EXPECT_EQ(printer["secondName"], name);
}

TEST_F(EnumerationCommands, FindTellsThePrinterBehindAPort) {
    configure(threeKinds);
    const ToolRun run = kal("find LPT1");
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.output, HasSubstr("0x1001"));
    EXPECT_EQ(kal("find USB001 --unc --json").json()["handle"], 3);
}

TEST_F(EnumerationCommands, FindOfAnUnknownPortFails) {
    const ToolRun run = kal("find LPT9");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("no printer was found behind port LPT9"));
}

TEST_F(EnumerationCommands, FindRespectsTheTypesAccepted) {
    configure(threeKinds);
    EXPECT_EQ(kal("find USB001 --types 0").status, 1);
    EXPECT_EQ(kal("find USB001 --types 0x400").status, 0);
}
