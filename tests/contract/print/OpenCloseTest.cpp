#include "tests/contract/print/ClientFixture.h"

using namespace kal::test;
using testing::ElementsAre;
using testing::IsEmpty;

class OpenTranslation : public RegisteredClient, public testing::WithParamInterface<Translation> {};

TEST_P(OpenTranslation, MapsTheServiceCode) {
    service.answers("OrxOpenPrinter", GetParam().code);
    EXPECT_EQ(kal.KalOpen(0, 5, 0), GetParam().result);
    EXPECT_EQ(log().back(), "-KalOpen() handle =5 rc=" + std::to_string(GetParam().result));
}

INSTANTIATE_TEST_SUITE_P(Code, OpenTranslation,
                         testing::Values(Translation{0, 0, ""}, Translation{170, -27, ""}, Translation{1168, -10, ""},
                                         Translation{6, -8, ""}, Translation{1, 1, ""}, Translation{2, 1, ""},
                                         Translation{5, 1, ""}, Translation{50, 1, ""}, Translation{122, 1, ""},
                                         Translation{126, 1, ""}, Translation{127, 1, ""},
                                         Translation{0xFFFFFFFF, 1, ""}, Translation{0xFFFFFFF8, 1, ""}),
                         codeOf);

class CloseTranslation : public RegisteredClient, public testing::WithParamInterface<Translation> {};

TEST_P(CloseTranslation, MapsTheServiceCode) {
    openPrinter(5);
    service.answers("OrxClosePrinter", GetParam().code);
    EXPECT_EQ(kal.KalClose(0, 5), GetParam().result);
    EXPECT_THAT(log(), ElementsAre("+KalClose() handle=5", std::string("-KalClose() handle=5 rc=") + GetParam().name));
}

INSTANTIATE_TEST_SUITE_P(Code, CloseTranslation,
                         testing::Values(Translation{0, 0, "KAL_OKAY"}, Translation{1, -8, "DEVERR_INVHANDLE"},
                                         Translation{6, 1, "KAL_FAIL"}, Translation{170, 1, "KAL_FAIL"},
                                         Translation{1168, 1, "KAL_FAIL"}, Translation{2, 1, "KAL_FAIL"},
                                         Translation{127, 1, "KAL_FAIL"}, Translation{0xFFFFFFFF, 1, "KAL_FAIL"}),
                         codeOf);

TEST_F(RegisteredClient, OpenPassesTheHandleAlone) {
    kal.KalOpen(7, handle, 9);
    EXPECT_EQ(service.lastCall("OrxOpenPrinter").number(1), handle);
    EXPECT_THAT(service.operations(), ElementsAre("OrxOpenPrinter"));
}

TEST_F(RegisteredClient, HandlesAreNeverSignExtended) {
    openPrinter(0xFFFF);
    kal.KalClose(0, 0xFFFF);
    EXPECT_EQ(service.lastCall("OrxClosePrinter").number(1), 0xFFFFu);
    kal.KalOpen(0, 0x8000, 0);
    EXPECT_EQ(service.lastCall("OrxOpenPrinter").number(1), 0x8000u);
    EXPECT_EQ(log().back(), "-KalOpen() handle =32768 rc=0");
}

TEST_F(RegisteredClient, OpenCutsItsArgumentsToSixteenBits) {
    EXPECT_EQ(as<AnyExport>("KalOpen")(~0ull, 0xDEADBEEF'CAFE8005, ~0ull, 0, 0, 0, 0, 0) & 0xFFFFFFFF, 0);
    EXPECT_EQ(service.lastCall("OrxOpenPrinter").number(1), 0x8005u);
}

TEST_F(RegisteredClient, CloseCutsItsHandleToSixteenBits) {
    openPrinter(0x8005);
    EXPECT_EQ(static_cast<int32_t>(as<AnyExport>("KalClose")(~0ull, 0xDEADBEEF'CAFE8005, 0, 0, 0, 0, 0, 0)), KAL_OKAY);
    EXPECT_EQ(service.lastCall("OrxClosePrinter").number(1), 0x8005u);
}

TEST_F(RegisteredClient, EachOpenNeedsItsOwnClose) {
    EXPECT_EQ(kal.KalOpen(0, handle, 0), KAL_OKAY);
    EXPECT_EQ(kal.KalOpen(0, handle, 0), KAL_OKAY);
    EXPECT_EQ(kal.KalClose(0, handle), KAL_OKAY);
    EXPECT_EQ(kal.KalClose(0, handle), KAL_OKAY);
    EXPECT_EQ(kal.KalClose(0, handle), DEVERR_INVHANDLE);
    EXPECT_EQ(service.count("OrxClosePrinter"), 2u);
}

TEST_F(RegisteredClient, FailedOpenNeedsNoClose) {
    service.answers("OrxOpenPrinter", 170);
    kal.KalOpen(0, handle, 0);
    EXPECT_EQ(kal.KalClose(0, handle), DEVERR_INVHANDLE);
    EXPECT_FALSE(service.isLoaded());
}

TEST_F(RegisteredClient, CloseOfAnUnknownHandleChangesNothingElse) {
    openPrinter();
    EXPECT_EQ(kal.KalClose(0, handle), DEVERR_INVHANDLE);
    EXPECT_THAT(service.sequence(), IsEmpty());
    EXPECT_EQ(kal.KalClose(0, fitting), KAL_OKAY);
}

TEST_F(RegisteredClient, HandleIsOpenToAllThreads) {
    openPrinter(); // opened on a worker
    EXPECT_EQ(kal.KalCancelJob(0, fitting), KAL_OKAY);
}
