#include "tests/tool/ToolFixture.h"

#include <gmock/gmock.h>

using namespace kal::test;
using testing::HasSubstr;

namespace {

class StatusCommands : public ToolTest {
  protected:
    void configurePrinter(const std::string &members) {
        configure(R"({"printers":[{"handle":3,"transport":"USB1","port":"USB001","device":"BpdPrinter",)" + members +
                  "}]}");
    }
};

} // namespace

TEST_F(StatusCommands, PrintingStateIsTold) {
    configurePrinter(R"("state":1)");
    EXPECT_THAT(kal("status 3").output, HasSubstr("Printer 0x0003 is printing."));
    EXPECT_EQ(kal("status 3 --json").json(), nlohmann::json::parse(R"({"handle":3,"printing":true,"version":1})"));
}

TEST_F(StatusCommands, IdleStateIsTold) {
    configurePrinter(R"("state":3)");
    EXPECT_THAT(kal("status 3").output, HasSubstr("Printer 0x0003 is not printing."));
    EXPECT_EQ(kal("status 3 --json").json()["printing"], false);
}

TEST_F(StatusCommands, UnknownPrinterFails) {
    const ToolRun run = kal("status 99");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("KalQueryPrinterStatus answered KAL_FAIL (1)"));
}

TEST_F(StatusCommands, CacheIsDumpedWithoutItsHead) {
    configurePrinter(R"("cache":{"head":true,"text":"ABC"})");
    EXPECT_THAT(kal("cache 3").output, HasSubstr("00000000  41 42 43 "));
    EXPECT_EQ(kal("cache 3 --json").json(), nlohmann::json::parse(R"({"handle":3,"length":3,"bytes":"41 42 43"})"));
}

TEST_F(StatusCommands, CacheCanBeHadAsItIs) {
    configurePrinter(R"("cache":{"bytes":"0A 0D 1A 00 0A"})");
    EXPECT_EQ(kal("cache 3 --raw").output, std::string("\x0A\x0D\x1A\x00\x0A", 5));
}

TEST_F(StatusCommands, EmptyCacheIsTold) {
    configurePrinter(R"("cache":{"head":true,"text":""})");
    EXPECT_THAT(kal("cache 3").output, HasSubstr("The cache is empty."));
}

TEST_F(StatusCommands, CacheOfAnUnknownPrinterFails) {
    const ToolRun run = kal("cache 99");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("KalGetCache answered "));
}

TEST_F(StatusCommands, RawAndJsonExcludeEachOther) {
    EXPECT_EQ(kal("cache 3 --raw --json").status, 2);
}
