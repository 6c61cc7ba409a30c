#include "tests/tool/ToolFixture.h"

#include <gmock/gmock.h>

using namespace kal::test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class PrintCommand : public ToolTest {
  protected:
    /// Configures a USB printer with handle 3, and the given misbehaviour of entry points.
    void misbehave(const std::string &entryPoints) {
        configure(R"({"printers":[{"handle":3,"transport":"USB1","port":"USB001","device":"BpdPrinter"}],
                      "entryPoints":{)" +
                  entryPoints + "}}");
    }
};

} // namespace

TEST_F(PrintCommand, DocumentArrivesByteForByte) {
    const std::string document = documentOf(3'000'001);
    const ToolRun run = kal("print --printer 3 " + file("document.prn", document));
    EXPECT_EQ(run.status, 0) << run.error;
    EXPECT_THAT(run.output, HasSubstr("document.prn: 3,000,001 bytes in "));
    ASSERT_EQ(spooledJobs().size(), 1u);
    EXPECT_TRUE(spooledJobs()[0] == document);
}

TEST_F(PrintCommand, OneByteIsADocument) {
    EXPECT_EQ(kal("print --printer 0x6001 " + file("one", "x")).status, 0);
    EXPECT_THAT(spooledJobs(), ElementsAre("x"));
}

TEST_F(PrintCommand, DocumentNameIsTheFileName) {
    kal("print --printer 3 " + file("report 1.pdf", "x"));
    EXPECT_THAT(readFile(folder / "spool" / "job-000001.json"), HasSubstr("\"documentName\": \"report 1.pdf\""));
}

TEST_F(PrintCommand, PartialWritesAreSentAgain) {
    misbehave(R"("OrxWritePrinter":{"fromCall":1,"accept":1000})");
    const std::string document = documentOf(20'500);
    EXPECT_EQ(kal("print --printer 3 " + file("d", document)).status, 0);
    ASSERT_EQ(spooledJobs().size(), 1u);
    EXPECT_TRUE(spooledJobs()[0] == document);
}

TEST_F(PrintCommand, EmptyWriteIsTriedAgain) {
    misbehave(R"("OrxWritePrinter":[{"call":1,"accept":0},{"call":2,"accept":0}])");
    EXPECT_EQ(kal("print --printer 3 " + file("d", "document")).status, 0);
    EXPECT_THAT(spooledJobs(), ElementsAre("document"));
}

TEST_F(PrintCommand, ServiceThatTakesNothingFailsAndCancels) {
    misbehave(R"("OrxWritePrinter":{"fromCall":1,"accept":0})");
    const ToolRun run = kal("print --printer 3 " + file("d", "document"));
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("the service takes no more data; the job was cancelled"));
    EXPECT_THAT(spoolEntries(), IsEmpty());
}

TEST_F(PrintCommand, FailingWriteCancelsTheJob) {
    misbehave(R"("OrxWritePrinter":{"call":2,"code":1168})");
    const ToolRun run = kal("print --printer 3 " + file("d", documentOf(12'000'000)));
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("KalWrite answered DEVERR_CONNECT (-10): the service cannot reach or find the "
                                     "device; the job was cancelled"));
    EXPECT_THAT(spoolEntries(), IsEmpty());
    EXPECT_THAT(readFile(folder / "spool" / "simulator.log"), HasSubstr("ancel"));
}

TEST_F(PrintCommand, FailingEndCancelsTheJob) {
    misbehave(R"("OrxEndJobPrinter":{"call":1,"code":170})");
    const ToolRun run = kal("print --printer 3 " + file("d", "document"));
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("KalEndDoc answered KAL_PRNBUSY (-27): the printer is busy"));
    EXPECT_THAT(spoolEntries(), IsEmpty());
}

TEST_F(PrintCommand, BusyPrinterIsNamedAtTheStart) {
    misbehave(R"("OrxStartJobPrinter":{"call":1,"code":170})");
    const ToolRun run = kal("print --printer 3 " + file("d", "document"));
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("KalStartDoc answered KAL_PRNBUSY (-27): the printer is busy"));
}

TEST_F(PrintCommand, MissingFileSendsNothing) {
    const ToolRun run = kal("print --printer 3 nowhere.prn");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("nowhere.prn cannot be opened: "));
    EXPECT_FALSE(std::filesystem::exists(folder / "spool")) << "the service was asked";
}

TEST_F(PrintCommand, FolderSendsNothing) {
    EXPECT_EQ(kal("print --printer 3 .").status, 1);
    EXPECT_THAT(spoolEntries(), IsEmpty());
}

TEST_F(PrintCommand, EmptyFileSendsNothing) {
    const ToolRun run = kal("print --printer 3 " + file("empty", ""));
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("is empty; nothing was sent"));
    EXPECT_THAT(spoolEntries(), IsEmpty());
}

TEST_F(PrintCommand, UnknownPrinterIsRefused) {
    const ToolRun run = kal("print --printer 77 " + file("d", "document"));
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("KalOpen answered DEVERR_INVHANDLE (-8)"));
}

TEST_F(PrintCommand, PortTypeThatDoesNotFitIsRefused) {
    const ToolRun run = kal("print --printer 3 --port-type 2 " + file("d", "document"));
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("KalStartDoc answered DEVERR_PROTOCOL (-14)"));
    EXPECT_EQ(kal("print --printer 0x6001 --port-type 2 " + file("d", "document")).status, 0);
}

TEST_F(PrintCommand, QuietSaysNothing) {
    const ToolRun run = kal("print --quiet --printer 3 " + file("d", "document"));
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output + run.error, "");
}

TEST_F(PrintCommand, NoBarIsDrawnWhereNobodyWatches) {
    const ToolRun run = kal("print --printer 3 " + file("d", documentOf(2'000'000)));
    EXPECT_EQ(run.error, "");
    EXPECT_EQ(run.output.find('#'), std::string::npos);
}

TEST_F(PrintCommand, JsonTellsBytes) {
    const auto summary = kal("print --json --printer 3 " + file("d", "document")).json();
    EXPECT_EQ(summary["bytes"], 8);
    EXPECT_EQ(summary["handle"], 3);
    EXPECT_FALSE(summary.contains("endOfJobFlag"));
}

TEST_F(PrintCommand, WaitReportsTheTrueEndOfJob) {
    configure(R"({"printers":[{"handle":3,"transport":"USB1","port":"USB001","device":"BpdPrinter",
                               "printingMs":700,"endOfJobFlag":5}]})");
    const ToolRun run = kal("print --wait --json --printer 3 " + file("d", "document"));
    EXPECT_EQ(run.status, 0) << run.error;
    EXPECT_EQ(run.json()["endOfJobFlag"], 5);
}

TEST_F(PrintCommand, WaitEndsAtItsTimeOut) {
    configure(R"({"printers":[{"handle":3,"transport":"USB1","port":"USB001","device":"BpdPrinter",
                               "reportsJobs":false}]})");
    const ToolRun run = kal("print --wait --timeout 1 --printer 3 " + file("d", "document"));
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("the document was sent, but no end of job was reported within 1 s"));
    EXPECT_THAT(spooledJobs(), ElementsAre("document"));
}

TEST_F(PrintCommand, WaitOnAPrinterWithoutNotificationsSendsNothing) {
    misbehave(R"("OrxRegisterForNotificationsPrinter":{"fromCall":1,"code":2})");
    const ToolRun run = kal("print --wait --printer 3 " + file("d", "document"));
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("KalSetJobControlMode answered DEVERR_CONNECT (-10)"));
    EXPECT_THAT(spoolEntries(), IsEmpty());
}

TEST_F(PrintCommand, InterruptionCancelsTheJob) {
    misbehave(R"("OrxWritePrinter":{"fromCall":1,"accept":10,"delayMs":100})");
    const auto running = start("print --printer 3 " + file("d", documentOf(100'000)));
    ASSERT_TRUE(eventually([&] { return !spoolEntries().empty(); })); // the job has started
    ASSERT_TRUE(running->interrupt());
    const ToolRun run = running->finish();
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("interrupted; the job was cancelled"));
    EXPECT_THAT(spoolEntries(), IsEmpty());
}

TEST_F(PrintCommand, CancelWithoutAJobFails) {
    const ToolRun run = kal("cancel 3");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("KalCancelJob answered KAL_FAIL (1)"));
}

TEST_F(PrintCommand, CancelNamesItsResult) {
    misbehave(R"("OrxCancelJobPrinter":{"fromCall":1,"code":0})");
    EXPECT_THAT(kal("cancel 3").output, HasSubstr("KalCancelJob answered KAL_OKAY (0)"));
}

TEST_F(PrintCommand, CancelWithJobIdHandsItOver) {
    misbehave(R"("OrxCancelJobPrinter":{"fromCall":1,"code":0},"OrxSetByteArrayPrinter":{"fromCall":1,"code":5})");
    const ToolRun run = kal("cancel 3 --job 17");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("KalSetJobCancelMode answered KAL_FAIL (1)"));
}
