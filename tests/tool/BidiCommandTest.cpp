#include "tests/tool/ToolFixture.h"

#include <gmock/gmock.h>

using namespace kal::test;
using testing::HasSubstr;

namespace {

class BidiCommand : public ToolTest {
  protected:
    BidiCommand() {
        configure(R"({"printers":[{"handle":3,"transport":"USB1","port":"USB001","device":"BpdPrinter","bidi":[
            {"request":"A5 00 05 50 04 00 C0 DE","answerText":"composed"},
            {"request":"A5 00 03 50 04","answerText":"stored"},
            {"request":"01 02","response":"0A 0D 0A 1A 00"},
            {"request":"EE","code":1460}]}]})");
    }
};

} // namespace

TEST_F(BidiCommand, AnswerIsDumped) {
    const ToolRun run = kal("bidi 3 1");
    EXPECT_EQ(run.status, 0) << run.error;
    EXPECT_EQ(run.output, "00000000  73 74 6F 72 65 64                                 |stored|\r\n");
}

TEST_F(BidiCommand, JsonHasTheBytes) {
    EXPECT_EQ(kal("bidi 3 1 --json").json(),
              nlohmann::json::parse(R"({"handle":3,"function":1,"length":6,"bytes":"73 74 6F 72 65 64"})"));
}

TEST_F(BidiCommand, DataIsAppendedToTheStoredRequest) {
    EXPECT_THAT(kal("bidi 3 1 --data \"C0 DE\"").output, HasSubstr("|composed|"));
}

TEST_F(BidiCommand, DataMayComeFromAFile) {
    folder.write("data.bin", "\xC0\xDE");
    EXPECT_THAT(kal("bidi 3 1 --data \"@" + (folder / "data.bin").string() + "\"").output, HasSubstr("|composed|"));
}

TEST_F(BidiCommand, RawAnswerIsWrittenByteForByte) {
    EXPECT_EQ(kal("bidi 3 170 --data 0102 --raw").output, std::string("\x0A\x0D\x0A\x1A\x00", 5));
}

TEST_F(BidiCommand, FailuresAreNamed) {
    const ToolRun run = kal("bidi 3 170 --data EE");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("KalSendBidi answered DEVERR_READFAIL (-17)"));
}

TEST_F(BidiCommand, UnknownFunctionIsNamed) {
    const ToolRun run = kal("bidi 3 181");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("KalSendBidi answered KAL_INVALID_FUNCTION (-15)"));
}

TEST_F(BidiCommand, AnswerThatDoesNotFitNamesTheSize) {
    const ToolRun run = kal("bidi 3 1 --size 3");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("KAL_MOREDATA (-18): the answer is larger than the buffer; use --size 11"));
    EXPECT_EQ(kal("bidi 3 1 --size 11").status, 0);
}

TEST_F(BidiCommand, DataThatIsNoHexadecimalIsMisuse) {
    EXPECT_EQ(kal("bidi 3 1 --data XY").status, 2);
    EXPECT_EQ(kal("bidi 3 1 --data A5F").status, 2);
}

TEST_F(BidiCommand, DataFileThatIsMissingFails) {
    const ToolRun run = kal("bidi 3 1 --data @nowhere.bin");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("nowhere.bin cannot be opened"));
}

TEST_F(BidiCommand, DataThatWouldBeLeftOffIsRefused) {
    folder.write("data.bin", std::string(510, 'x'));
    const ToolRun run = kal("bidi 3 1 --data \"@" + (folder / "data.bin").string() + "\"");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("nothing was sent"));
}

TEST_F(BidiCommand, DataLongerThanTheInterfaceTakesIsRefused) {
    folder.write("data.bin", std::string(65536, 'x'));
    const ToolRun run = kal("bidi 3 170 --data \"@" + (folder / "data.bin").string() + "\"");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("is larger than 65535 bytes"));
}
