#include "tests/contract/alerts/AlertFixture.h"

#include <cstring>

namespace kal::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class KalQueryPrinterStatusTest : public AlertTest {
  protected:
    void stateIs(uint32_t state, uint32_t code = 0) {
        service.does("OrxGetCurrentStatePrinter", [=](const ServiceCall &call) {
            *call.pointer<uint32_t>(2) = state;
            return code;
        });
    }
    int32_t status(void *buffer, uint32_t size, uint32_t *neededSize) {
        return library.function<decltype(KalQueryPrinterStatus)>("KalQueryPrinterStatus")(0, 5, 0, buffer, size,
                                                                                          neededSize);
    }

    uint32_t needed = 0xCCCCCCCC;
};

struct StateRow {
    uint32_t state;
    uint32_t isPrinting;
    const char *text; ///< null for none
};

void PrintTo(const StateRow &row, std::ostream *stream) {
    *stream << "state " << row.state;
}

class KalQueryPrinterStatusStateTest : public KalQueryPrinterStatusTest,
                                       public testing::WithParamInterface<StateRow> {};

TEST_P(KalQueryPrinterStatusStateTest, RecordByteByByte) {
    stateIs(GetParam().state);
    GuardedBuffer buffer(1032);
    EXPECT_EQ(status(buffer.data(), 1032, &needed), KAL_OKAY);
    EXPECT_EQ(needed, 1032u);
    const uint32_t words[] = {1028, 1, GetParam().isPrinting, 1};
    std::string expected(1032, '\0');
    std::memcpy(expected.data(), words, sizeof words);
    EXPECT_EQ(buffer.bytes(), expected);
}

TEST_P(KalQueryPrinterStatusStateTest, StateIsLogged) {
    stateIs(GetParam().state);
    GuardedBuffer buffer(1032);
    status(buffer.data(), 1032, &needed);
    if (GetParam().text != nullptr)
        EXPECT_THAT(machine.logTexts(), ElementsAre("+KalQueryPrinterStatus() handle=5", GetParam().text,
                                                    "-KalQueryPrinterStatus() handle=5 rc=KAL_OKAY"));
    else
        EXPECT_THAT(machine.logTexts(),
                    ElementsAre("+KalQueryPrinterStatus() handle=5", "-KalQueryPrinterStatus() handle=5 rc=KAL_OKAY"));
}

INSTANTIATE_TEST_SUITE_P(States, KalQueryPrinterStatusStateTest,
                         testing::Values(StateRow{0, 0, nullptr}, StateRow{1, 1, "State=STATUS_PRINTING_"},
                                         StateRow{2, 1, "State=STATUS_PRINTING_"},
                                         StateRow{3, 0, "State=PRINTER_IDLE_AND_OKAY"}, StateRow{4, 0, nullptr},
                                         StateRow{0x10001, 0, nullptr}, StateRow{0xFFFFFFFF, 0, nullptr}));

TEST_F(KalQueryPrinterStatusTest, AsksForTheHandlesState) {
    GuardedBuffer buffer(1032);
    EXPECT_EQ(status(buffer.data(), 1032, &needed), KAL_OKAY);
    EXPECT_THAT(service.operations(), ElementsAre("OrxGetCurrentStatePrinter"));
    EXPECT_EQ(service.lastCall("OrxGetCurrentStatePrinter").number(0), 101u);
    EXPECT_EQ(service.lastCall("OrxGetCurrentStatePrinter").number(1), 5u);
    EXPECT_NE(service.lastCall("OrxGetCurrentStatePrinter").arguments[2], 0u);
}

class KalQueryPrinterStatusShortTest : public KalQueryPrinterStatusTest,
                                       public testing::WithParamInterface<uint32_t> {};

TEST_P(KalQueryPrinterStatusShortTest, ShortBufferIsToldTheSize) {
    stateIs(1);
    GuardedBuffer buffer(GetParam(), 0x55);
    EXPECT_EQ(status(buffer.data(), GetParam(), &needed), KAL_MOREDATA);
    EXPECT_EQ(needed, 1032u);
    EXPECT_EQ(buffer.bytes(), std::string(GetParam(), 0x55));
    EXPECT_THAT(machine.logTexts(), ElementsAre("+KalQueryPrinterStatus() handle=5", "State=STATUS_PRINTING_",
                                                "-KalQueryPrinterStatus() handle=5 rc=KAL_MOREDATA"));
}

INSTANTIATE_TEST_SUITE_P(Sizes, KalQueryPrinterStatusShortTest, testing::Values(0u, 1u, 16u, 1028u, 1031u));

TEST_F(KalQueryPrinterStatusTest, LargerBufferIsFilledToTheRecordOnly) {
    GuardedBuffer buffer(1100, 0x55);
    EXPECT_EQ(status(buffer.data(), 1100, &needed), KAL_OKAY);
    EXPECT_EQ(needed, 1032u);
    EXPECT_EQ(buffer.bytes().substr(1032), std::string(68, 0x55));
}

class KalQueryPrinterStatusCodeTest : public KalQueryPrinterStatusTest, public testing::WithParamInterface<uint32_t> {};

TEST_P(KalQueryPrinterStatusCodeTest, FailureOfTheServiceIsAFailure) {
    stateIs(1, GetParam());
    GuardedBuffer buffer(1032, 0x55);
    EXPECT_EQ(status(buffer.data(), 1032, &needed), KAL_FAIL);
    EXPECT_EQ(needed, 0xCCCCCCCCu);
    EXPECT_EQ(buffer.bytes(), std::string(1032, 0x55));
    const std::string description = "KalQueryPrinterStatus() handle=5";
    EXPECT_THAT(machine.logTexts(),
                ElementsAre("+" + description, "-" + description + " rc=KAL_FAIL " + std::to_string(GetParam())));
}

INSTANTIATE_TEST_SUITE_P(Codes, KalQueryPrinterStatusCodeTest, testing::Values(2u, 6u, 170u, 1168u, 0xFFFFFFFFu));

TEST_F(KalQueryPrinterStatusTest, NullBufferOfSizeZeroIsToldTheSize) {
    EXPECT_EQ(status(nullptr, 0, &needed), KAL_MOREDATA);
    EXPECT_EQ(needed, 1032u);
}

TEST_F(KalQueryPrinterStatusTest, NullBufferThatWouldFitFails) {
    EXPECT_EQ(status(nullptr, 1032, &needed), KAL_FAIL);
    EXPECT_THAT(machine.logTexts(), Contains("KalQueryPrinterStatus() buffer = NULL"));
}

TEST_F(KalQueryPrinterStatusTest, NullNeededSizeFailsWithoutTheService) {
    GuardedBuffer buffer(1032, 0x55);
    EXPECT_EQ(status(buffer.data(), 1032, nullptr), KAL_FAIL);
    EXPECT_THAT(service.sequence(), IsEmpty());
    EXPECT_EQ(buffer.bytes(), std::string(1032, 0x55));
    EXPECT_THAT(machine.logTexts(), Contains("KalQueryPrinterStatus() needed = NULL"));
}

TEST_F(KalQueryPrinterStatusTest, DirtAboveTheArgumentsIsCutOff) {
    GuardedBuffer buffer(1031);
    const auto call =
        library.function<int32_t(uint64_t, uint64_t, uint64_t, void *, uint64_t, uint32_t *)>("KalQueryPrinterStatus");
    // A sixth argument is passed in memory: the fifth's slot there keeps all its 64 bits.
    EXPECT_EQ(
        call(0xDEADBEEFDEAD0001, 0xDEADBEEFDEADFFFF, 0xDEADBEEFDEAD0001, buffer.data(), 0xDEADBEEF00000407, &needed),
        KAL_MOREDATA);
    EXPECT_EQ(service.lastCall("OrxGetCurrentStatePrinter").number(1), 0xFFFFu);
}

} // namespace
} // namespace kal::test
