// Sessions: kal.exe calls the simulator through the spy; then the simulator replays the recording.
#include "tests/spy/SpyFixture.h"
#include "tests/tool/ToolFixture.h"

using namespace kal::test;
using testing::HasSubstr;
using testing::SizeIs;

namespace {

class Session : public ToolTest {
  protected:
    Session() {
        configure(R"({"printers":[
              {"handle":3,"transport":"USB1","port":"USB001","device":"BpdPrinter",
               "bidi":[{"request":"","answerText":"ready"}]},
              {"handle":"0x6001","transport":"IPv4","port":"10.0.0.1","device":"CpdPrinter"}],
            "timeline":[{"printer":3,"from":"registration","afterMs":200,"alert":"tonerLow"},
                        {"printer":3,"from":"registration","afterMs":500,"notification":1}]})");
    }
    ~Session() override {
        for (const auto *name : {L"KAL_SPY_FOLDER", L"KAL_SPY_REDACT", L"KAL_SIMULATOR_REPLAY"}) {
            SetEnvironmentVariableW(name, nullptr);
        }
    }

    /// Runs a command and records it in the folder. @return the quoted path of the recording
    std::string record(const std::string &name, const std::string &arguments, ToolRun &run) {
        const auto where = folder / name;
        SetEnvironmentVariableW(L"KAL_SPY_FOLDER", where.c_str());
        run = kal(arguments);
        const auto files = recordingsIn(where);
        EXPECT_THAT(files, SizeIs(1));
        return files.empty() ? "" : "\"" + files.front().string() + "\"";
    }
    static void replay(const std::string &quoted) {
        SetEnvironmentVariableA("KAL_SIMULATOR_REPLAY",
                                quoted.empty() ? nullptr : quoted.substr(1, quoted.size() - 2).c_str());
    }
    std::string journal() const { return readFile(folder / "spool" / "simulator.log"); }

    /// Records the command, replays it, and compares the two recordings.
    void expectSameAgain(const std::string &arguments, ToolRun &first, ToolRun &second) {
        const auto field = record("field", arguments, first);
        replay(field);
        const auto desk = record("desk", arguments, second);
        replay("");
        EXPECT_EQ(first.status, 0) << first.error;
        EXPECT_EQ(second.status, first.status) << second.error;
        const auto diff = kal("spy diff " + field + " " + desk);
        EXPECT_EQ(diff.status, 0) << diff.output << diff.error;
        EXPECT_THAT(diff.output, HasSubstr("Equal: "));
        EXPECT_THAT(journal(), HasSubstr("replay of "));
        EXPECT_THAT(journal(), testing::Not(HasSubstr("replay: ")));
    }
};

} // namespace

TEST_F(Session, EnumerationIsReplayed) {
    ToolRun field;
    ToolRun desk;
    expectSameAgain("list --json", field, desk);
    EXPECT_EQ(desk.output, field.output);
    EXPECT_THAT(desk.json(), SizeIs(2));
}

TEST_F(Session, PrintJobIsReplayedWithItsEnd) {
    ToolRun field;
    ToolRun desk;
    expectSameAgain("print --printer 0x6001 --wait --json " + file("letter.prn", documentOf(300'000)), field, desk);
    EXPECT_EQ(desk.json()["bytes"], 300'000);
    EXPECT_EQ(desk.json()["endOfJobFlag"], field.json()["endOfJobFlag"]);
    EXPECT_THAT(spooledJobs(), SizeIs(1)); // the replayed command does not print
}

TEST_F(Session, RedactedPrintJobIsReplayed) {
    SetEnvironmentVariableW(L"KAL_SPY_REDACT", L"1");
    ToolRun field;
    ToolRun desk;
    expectSameAgain("print --printer 3 --quiet " + file("letter.prn", documentOf(300'000)), field, desk);
}

TEST_F(Session, BidiExchangeIsReplayed) {
    ToolRun field;
    ToolRun desk;
    expectSameAgain("bidi 3 5", field, desk);
    EXPECT_EQ(desk.output, field.output);
    EXPECT_THAT(desk.output, HasSubstr("ready"));
}

TEST_F(Session, AlertsAreReplayedAtTheirPlace) {
    ToolRun field;
    ToolRun desk;
    expectSameAgain("watch 3 --count 2 --seconds 30 --json", field, desk);
    const auto before = field.jsonLines();
    const auto after = desk.jsonLines();
    ASSERT_THAT(before, SizeIs(2));
    ASSERT_THAT(after, SizeIs(2));
    for (size_t index = 0; index < after.size(); ++index) {
        for (const char *what : {"message", "handle"}) {
            EXPECT_EQ(after[index].at(what), before[index].at(what));
        }
    }
    EXPECT_EQ(after[0].at("bytes"), before[0].at("bytes"));
}

TEST_F(Session, AlertIsReplayedNoLongerThanItsBytes) {
    const std::string watch = "watch 3 --count 1 --seconds 30 --json";
    ToolRun field;
    const auto recorded = record("field", watch, field);
    auto text = readFile(recorded.substr(1, recorded.size() - 2));
    const std::string told = "},\"length\":";
    const auto place = text.find(told, text.find("\"alert\":{"));
    ASSERT_NE(place, std::string::npos) << text;
    text.insert(place + told.size(), "4");
    replay(file("longer.jsonl", text));
    const auto desk = kal(watch);
    ASSERT_THAT(desk.jsonLines(), SizeIs(1)) << desk.error;
    EXPECT_EQ(desk.jsonLines()[0]["bytes"], field.jsonLines()[0]["bytes"]);
}

TEST_F(Session, CallThatWasNotRecordedFailsAndIsTold) {
    ToolRun field;
    replay(record("field", "status 3", field));
    ToolRun other;
    record("desk", "status 0x6001", other);
    EXPECT_EQ(other.status, 1);
    EXPECT_THAT(journal(), HasSubstr("replay: the call is not in the recording: OrxGetCurrentStatePrinter{"));
    EXPECT_THAT(journal(), HasSubstr("\"handle\":24577,\"state\":{\"output\":true}}, answers 1169"));
}

TEST_F(Session, OtherDocumentIsNotTakenForTheRecordedOne) {
    ToolRun run;
    replay(record("field", "print --printer 3 --quiet " + file("a.prn", "one"), run));
    record("desk", "print --printer 3 --quiet " + file("a.prn", "two"), run);
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(journal(), HasSubstr("is not in the recording: OrxWritePrinter"));
}

TEST_F(Session, ConfigurationMayNameTheRecording) {
    ToolRun field;
    const auto recorded = record("field", "list", field);
    std::filesystem::copy_file(recorded.substr(1, recorded.size() - 2), folder / "session.jsonl");
    configure(R"({"replay":"session.jsonl"})");
    ToolRun desk;
    record("desk", "list", desk);
    EXPECT_EQ(desk.output, field.output);
}

TEST_F(Session, RecordingThatIsNoneIsTold) {
    replay(file("letter.jsonl", "Dear all"));
    ToolRun run;
    record("desk", "status 3", run);
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(journal(), HasSubstr("letter.jsonl: this is no recording of the spy"));
}

// ---------------------------------------------------------------------------------------------------------- kal spy

TEST_F(Session, ShowTellsCallsAndAnswers) {
    ToolRun run;
    const auto shown = kal("spy show " + record("field", "status 3", run));
    EXPECT_EQ(shown.status, 0) << shown.error;
    EXPECT_THAT(shown.output, HasSubstr("+OrxGetCurrentStatePrinter(clientId="));
    EXPECT_THAT(shown.output, HasSubstr("-OrxGetCurrentStatePrinter = 0  state=3"));
}

TEST_F(Session, ShowAsJsonHasOneObjectACall) {
    ToolRun run;
    const auto calls = kal("spy show --json --entry OrxOpenPrinter " +
                           record("field", "print --printer 3 --quiet " + file("a.prn", "one"), run))
                           .jsonLines();
    ASSERT_THAT(calls, SizeIs(1));
    EXPECT_EQ(calls[0]["arguments"]["handle"], 3);
    EXPECT_EQ(calls[0]["result"], 0);
}

TEST_F(Session, TimelineIsWritten) {
    ToolRun run;
    const auto recorded = record("field", "status 3", run);
    const auto made = kal("spy timeline " + recorded + " \"" + (folder / "calls.json").string() + "\"");
    EXPECT_EQ(made.status, 0) << made.error;
    EXPECT_GT(nlohmann::json::parse(readFile(folder / "calls.json"))["traceEvents"].size(), 5u);
}

TEST_F(Session, DifferentRecordingsEndWithOne) {
    ToolRun run;
    const auto one = record("one", "status 3", run);
    const auto other = record("other", "list", run);
    const auto diff = kal("spy diff " + one + " " + other);
    EXPECT_EQ(diff.status, 1);
    EXPECT_THAT(diff.output, HasSubstr("+++ "));
    EXPECT_EQ(kal("spy diff --json " + one + " " + other).json()["equal"], false);
}

TEST_F(Session, RecordingThatIsCutOffIsShownAndFails) {
    ToolRun run;
    const auto recorded = record("field", "status 3", run);
    const auto text = readFile(recorded.substr(1, recorded.size() - 2));
    const auto cut = file("cut.jsonl", text.substr(0, text.size() - 20));
    const auto shown = kal("spy show " + cut);
    EXPECT_EQ(shown.status, 1);
    EXPECT_THAT(shown.output, HasSubstr("OrxInitialize"));
    EXPECT_THAT(shown.error, HasSubstr("the line is cut off or damaged; everything before it is shown"));
}

TEST_F(Session, UnknownEntryPointIsAnError) {
    ToolRun run;
    const auto recorded = record("field", "status 3", run);
    auto text = readFile(recorded.substr(1, recorded.size() - 2));
    text.replace(text.find("OrxGetClientId"), 14, "OrxPaintClient");
    const auto shown = kal("spy show " + file("odd.jsonl", text));
    EXPECT_EQ(shown.status, 1);
    EXPECT_THAT(shown.error, HasSubstr("comc.dll has no entry point \"OrxPaintClient\""));
    EXPECT_EQ(kal("spy show --entry OrxPaintClient " + recorded).status, 2);
}

TEST_F(Session, OtherFileIsNoRecording) {
    for (const char *command : {"spy show ", "spy diff a.prn ", "spy timeline "}) {
        const auto run =
            kal(command + file("a.prn", "%!PS") + (std::string(command) == "spy timeline " ? " out.json" : ""));
        EXPECT_EQ(run.status, 1) << command;
    }
    EXPECT_THAT(kal("spy show " + file("a.prn", "%!PS")).error, HasSubstr("this is no recording of the spy"));
}
