#include "tests/tool/ToolFixture.h"

#include <gmock/gmock.h>

using namespace kal::test;
using testing::HasSubstr;

namespace {

class JobCommands : public ToolTest {};

} // namespace

TEST_F(JobCommands, ModeStartsNotifications) {
    const ToolRun run = kal("job mode 3 2");
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.output, HasSubstr("KalSetJobControlMode answered KAL_OKAY (0): the operation succeeded"));
}

TEST_F(JobCommands, ModeThatIsRefusedFails) {
    const ToolRun run = kal("job mode 3 128");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("KalSetJobControlMode answered KAL_FAIL (1)"));
}

TEST_F(JobCommands, CancelIdBelowOneFails) {
    EXPECT_EQ(kal("job cancel-id 3 0").status, 1);
    EXPECT_EQ(kal("job cancel-id 3 16909060").status, 0);
}

TEST_F(JobCommands, JobStringsReachTheNextJob) {
    EXPECT_EQ(kal("job string 3 Duplex \"long edge\"").status, 0);
    EXPECT_EQ(kal("print --printer 3 " + file("d", "document")).status, 0);
    const auto job = nlohmann::json::parse(readFile(folder / "spool" / "job-000001.json"));
    EXPECT_EQ(job["jobStrings"]["Duplex"], "long edge");
}

TEST_F(JobCommands, EndOfJobTimeLimitsTheWait) {
    configure(R"({"printers":[{"handle":3,"transport":"USB1","port":"USB001","device":"BpdPrinter",
                               "printingMs":600000}]})");
    EXPECT_EQ(kal("job end-of-job 3 1").status, 0);
    EXPECT_EQ(kal("print --wait --timeout 60 --printer 3 " + file("d", "document")).status, 0);
}
