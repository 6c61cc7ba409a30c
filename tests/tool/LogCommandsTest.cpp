#include "tests/tool/ToolFixture.h"

#include <gmock/gmock.h>

#include <fstream>

using namespace kal::test;
using testing::HasSubstr;
using testing::Not;

namespace {

class LogCommands : public LogToolTest {
  protected:
    /// A log file with these lines; its name is quoted for the command line.
    std::string log(const std::string &lines) { return file("given.log", lines); }
    /// Writes the library's log with only this text.
    void writeLog(const std::string &text) {
        std::filesystem::create_directories(logFile().parent_path());
        std::ofstream(logFile(), std::ios::binary) << "Bidi            " << text << "\r\n";
    }
};

constexpr const char *twoProcesses =
    "2012/03/05-14:07:09.040 pid=000a tid=000b LegacyClient    +KalClose() handle=5\r\n"
    "2012/03/05-14:07:09.041 pid=000c tid=000d Bidi            sent\r\n"
    "2012/03/05-14:07:09.042 pid=000a tid=000b LegacyClient     closing\r\n"
    "2012/03/05-14:07:09.043 pid=000a tid=000b LegacyClient    -KalClose() handle=5 rc=DEVERR_INVHANDLE\r\n";

} // namespace

TEST_F(LogCommands, OnMakesTheLibraryWriteCalls) {
    EXPECT_EQ(kal("log on --pid --tid").status, 0);
    kal("status 3");
    const std::string text = readFile(logFile());
    EXPECT_THAT(text, HasSubstr("+KalQueryPrinterStatus() handle=3"));
    EXPECT_THAT(text, HasSubstr("pid="));
    EXPECT_THAT(text, HasSubstr("tid="));
}

TEST_F(LogCommands, OffLeavesOnlyErrors) {
    kal("log on");
    EXPECT_EQ(kal("log off").status, 0);
    kal("status 3");
    EXPECT_FALSE(std::filesystem::exists(logFile()));
}

TEST_F(LogCommands, OffWithoutAKeyMakesNone) {
    EXPECT_EQ(kal("log off").status, 0);
    EXPECT_EQ(kal("log status --json").json()["keyOpens"], false);
}

TEST_F(LogCommands, LevelNarrowsWhatIsWritten) {
    EXPECT_THAT(kal("log on --level 8").output, HasSubstr("levels 0x8 of every component"));
    kal("status 3");
    const std::string text = readFile(logFile());
    EXPECT_THAT(text, HasSubstr("KalRegisterApp() initializeCount=1"));
    EXPECT_THAT(text, Not(HasSubstr("KalQueryPrinterStatus")));
}

TEST_F(LogCommands, ComponentNarrowsWhatIsWritten) {
    kal("log on --component Bidi=2");
    kal("status 3");
    EXPECT_FALSE(std::filesystem::exists(logFile()));
    kal("log on --component Bidi=2 --component legacyclient=0x2");
    kal("status 3");
    EXPECT_THAT(readFile(logFile()), HasSubstr("+KalQueryPrinterStatus"));
}

TEST_F(LogCommands, AllWidensAgain) {
    kal("log on --level 1");
    kal("log on --all");
    kal("status 3");
    EXPECT_THAT(readFile(logFile()), HasSubstr("+KalQueryPrinterStatus"));
}

TEST_F(LogCommands, HeaderFieldsNotNamedStay) {
    kal("log on --pid --no-clock");
    kal("log on --tid");
    EXPECT_EQ(kal("log status --json").json()["header"], "process id, thread id");
    kal("log on --clock --no-pid --no-tid");
    EXPECT_EQ(kal("log status --json").json()["header"], "clock");
}

TEST_F(LogCommands, BadSelectionIsMisuseAndChangesNothing) {
    for (const char *arguments : {"log on --component Nobody=1", "log on --component Bidi", "log on --component Bidi=x",
                                  "log on --level all", "log on --all --level 1", "log on --all --component Bidi=1"}) {
        EXPECT_EQ(kal(arguments).status, 2) << arguments;
    }
    EXPECT_EQ(kal("log status --json").json()["keyOpens"], false);
}

TEST_F(LogCommands, StatusTellsOfASilentLog) {
    const ToolRun run = kal("log status");
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.output, HasSubstr("does not open with the rights that the library asks for (0x11F)"));
    EXPECT_THAT(run.output, HasSubstr("silent, errors included"));
}

TEST_F(LogCommands, StatusTellsKeySelectionAndFile) {
    kal("log on");
    kal("status 3");
    const auto status = kal("log status --json").json();
    EXPECT_EQ(status["key"], "HKEY_LOCAL_MACHINE\\Software\\Kalder Print Services\\Orx\\Local\\kalc");
    EXPECT_EQ(status["keyOpens"], true);
    EXPECT_EQ(status["started"], true);
    EXPECT_EQ(status["selection"], "on: every level of every component");
    EXPECT_EQ(status["fileExists"], true);
    EXPECT_EQ(status["fileSize"], std::filesystem::file_size(logFile()));
    EXPECT_EQ(status["file"], logFile().string());
}

TEST_F(LogCommands, FolderInTheLogsPlaceIsNoLog) {
    kal("log on");
    std::filesystem::create_directories(logFile());
    EXPECT_EQ(kal("log status --json").json()["fileExists"], false);
    EXPECT_THAT(kal("log status").output, HasSubstr(logFile().string() + ", not there yet"));
}

TEST_F(LogCommands, ShowNestsCalls) {
    EXPECT_EQ(kal("log show --file " + log(twoProcesses)).output,
              "--- 2012/03/05\r\n"
              "14:07:09.040  pid 0x000A  tid 0x000B  LegacyClient     +KalClose() handle=5\r\n"
              "14:07:09.041  pid 0x000C  tid 0x000D  Bidi             sent\r\n"
              "14:07:09.042  pid 0x000A  tid 0x000B  LegacyClient       closing\r\n"
              "14:07:09.043  pid 0x000A  tid 0x000B  LegacyClient     -KalClose() handle=5 rc=DEVERR_INVHANDLE\r\n");
}

TEST_F(LogCommands, ShowSelects) {
    const std::string given = log(twoProcesses);
    EXPECT_THAT(kal("log show --pid 0xC --file " + given).output, HasSubstr("sent"));
    EXPECT_THAT(kal("log show --pid 12 --file " + given).output, Not(HasSubstr("KalClose")));
    EXPECT_THAT(kal("log show --tid 0xB --file " + given).output, Not(HasSubstr("sent")));
    EXPECT_THAT(kal("log show --component bidi --file " + given).output, Not(HasSubstr("KalClose")));
    EXPECT_THAT(kal("log show --grep closing --file " + given).output, Not(HasSubstr("KalClose")));
}

TEST_F(LogCommands, ShowAsJsonHasOneObjectALine) {
    const auto lines = kal("log show --json --file " + log(twoProcesses)).jsonLines();
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[1]["text"], "sent");
    EXPECT_EQ(lines[2]["depth"], 1);
    EXPECT_EQ(lines[3]["failure"], true);
}

TEST_F(LogCommands, ShowWithoutALogFails) {
    const ToolRun run = kal("log show");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("there is no log file "));
    EXPECT_THAT(run.error, HasSubstr("kalc.log"));
}

TEST_F(LogCommands, FollowShowsWhatIsAdded) {
    writeLog("a first line");
    const auto running = start("log show --follow --seconds 60");
    ASSERT_TRUE(running->waitForOutput("a first line"));
    kal("log on");
    kal("status 3");
    EXPECT_TRUE(running->waitForOutput("-KalQueryPrinterStatus() handle=3")) << running->output();
}

TEST_F(LogCommands, FollowWaitsForALogThatIsMissing) {
    const auto running = start("log show --follow --seconds 60");
    kal("log on");
    kal("status 3");
    EXPECT_TRUE(running->waitForOutput("-KalQueryPrinterStatus() handle=3")) << running->output();
}

TEST_F(LogCommands, FollowGoesOnInAFileThatBeganAnew) {
    writeLog("a first line that is longer than the next");
    const auto running = start("log show --follow --seconds 60");
    ASSERT_TRUE(running->waitForOutput("a first line"));
    std::filesystem::rename(logFile(), folder / "old.log");
    writeLog("second");
    EXPECT_TRUE(running->waitForOutput("second")) << running->output();
}

TEST_F(LogCommands, FollowEndsOnInterruption) {
    writeLog("a first line");
    const auto running = start("log show --follow");
    ASSERT_TRUE(running->waitForOutput("a first line"));
    ASSERT_TRUE(running->interrupt());
    EXPECT_EQ(running->finish().status, 0);
}

TEST_F(LogCommands, TimelineHasASpanForEachExport) {
    const auto timeline = folder / "calls.json";
    const ToolRun run = kal("log timeline \"" + timeline.string() + "\" --file " + log(twoProcesses));
    EXPECT_EQ(run.status, 0) << run.error;
    EXPECT_THAT(run.output, HasSubstr("1 calls from 4 lines"));
    const auto events = nlohmann::json::parse(readFile(timeline))["traceEvents"];
    size_t spans = 0;
    for (const auto &event : events) {
        if (event["ph"] == "X") {
            ++spans;
            EXPECT_EQ(event["name"], "KalClose");
            EXPECT_EQ(event["pid"], 10);
            EXPECT_EQ(event["args"]["handle"], "5");
            EXPECT_EQ(event["args"]["result"], "DEVERR_INVHANDLE");
        }
    }
    EXPECT_EQ(spans, 1u);
}

TEST_F(LogCommands, TimelineOfARealRunHasThePrintCalls) {
    kal("log on --pid --tid");
    kal("print --printer 3 " + file("d", documentOf(10'000'000)));
    const auto timeline = folder / "calls.json";
    EXPECT_EQ(kal("log timeline \"" + timeline.string() + "\"").status, 0);
    std::map<std::string, int> calls;
    const auto document = nlohmann::json::parse(readFile(timeline));
    for (const auto &event : document["traceEvents"]) {
        if (event["ph"] == "X") {
            ++calls[event["name"]];
            EXPECT_FALSE(event["args"].contains("unfinished")) << event;
        }
    }
    EXPECT_EQ(calls["KalOpen"], 1);
    EXPECT_EQ(calls["KalOpenRunnable"], 1);
    EXPECT_EQ(calls["KalStartDoc"], 1);
    EXPECT_EQ(calls["KalWrite"], 3);
    EXPECT_EQ(calls["KalEndDoc"], 1);
    EXPECT_EQ(calls["KalClose"], 1);
}

TEST_F(LogCommands, TimelineThatCannotBeWrittenFails) {
    const ToolRun run =
        kal("log timeline \"" + (folder / "nowhere" / "calls.json").string() + "\" --file " + log(twoProcesses));
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("cannot be written"));
}

TEST_F(LogCommands, TimelineWithoutALogLeavesNoFile) {
    EXPECT_EQ(kal("log timeline \"" + (folder / "calls.json").string() + "\"").status, 1);
    EXPECT_FALSE(std::filesystem::exists(folder / "calls.json"));
    EXPECT_FALSE(std::filesystem::exists(folder / "calls.json.part"));
}
