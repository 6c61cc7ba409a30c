#include "tests/contract/RegisteredApplication.h"

namespace kal::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char teojDuration[] = "<Name>TeojDuration</Name><Type>Long</Type><Access>Writeable</Access>";
constexpr char tripletJobId[] = "<Name>TripletJobId</Name><Type>ByteArray</Type><Access>Writeable</Access>";

// ------------------------------------------------------------------------------------------------ end of job

class KalSetEndOfJobModeTest : public RegisteredApplication {
  protected:
    std::string durationFor(uint16_t seconds) {
        KalSetEndOfJobMode(0, 5, 0, 0, seconds);
        return service.lastCall("OrxSetJobStringPrinter").text(3);
    }
};

TEST_F(KalSetEndOfJobModeTest, SetsTheDurationPropertyOfTheHandle) {
    EXPECT_EQ(KalSetEndOfJobMode(1, 5, 2, 3, 60), KAL_OKAY);
    EXPECT_THAT(service.operations(), ElementsAre("OrxSetJobStringPrinter"));
    const auto call = service.lastCall("OrxSetJobStringPrinter");
    EXPECT_EQ(call.number(0), 101u);
    EXPECT_EQ(call.number(1), 5u);
    EXPECT_EQ(call.text(2), teojDuration);
    EXPECT_EQ(call.text(3), "60000");
}

TEST_F(KalSetEndOfJobModeTest, ZeroSecondsAreZeroMilliseconds) {
    EXPECT_EQ(durationFor(0), "0");
}

TEST_F(KalSetEndOfJobModeTest, OneSecondIsOneThousandMilliseconds) {
    EXPECT_EQ(durationFor(1), "1000");
}

TEST_F(KalSetEndOfJobModeTest, TheMostSecondsDoNotOverflow) {
    EXPECT_EQ(durationFor(65535), "65535000");
}

TEST_F(KalSetEndOfJobModeTest, HighestHandleIsNotSignExtended) {
    KalSetEndOfJobMode(0, 0xFFFF, 0, 0, 1);
    EXPECT_EQ(service.lastCall("OrxSetJobStringPrinter").number(1), 0xFFFFu);
}

TEST_F(KalSetEndOfJobModeTest, RefusalByTheServiceIsSuccess) {
    service.answers("OrxSetJobStringPrinter", 5);
    EXPECT_EQ(KalSetEndOfJobMode(0, 5, 0, 0, 1), KAL_OKAY);
}

TEST_F(KalSetEndOfJobModeTest, MissingEntryPointIsSuccess) {
    service.lacks("OrxSetJobStringPrinter");
    EXPECT_EQ(KalSetEndOfJobMode(0, 5, 0, 0, 1), KAL_OKAY);
}

TEST_F(KalSetEndOfJobModeTest, TraceNamesTheHandleAndEndsWithZero) {
    KalSetEndOfJobMode(0, 40000, 0, 0, 1);
    EXPECT_THAT(machine.logTexts(),
                ElementsAre("+KalSetEndOfJobMode() handle=40000", "-KalSetEndOfJobMode() handle=40000 rc=0"));
}

TEST_F(KalSetEndOfJobModeTest, TraceEndsWithZeroWhenTheServiceRefuses) {
    service.answers("OrxSetJobStringPrinter", 5);
    KalSetEndOfJobMode(0, 7, 0, 0, 1);
    EXPECT_EQ(machine.logTexts().back(), "-KalSetEndOfJobMode() handle=7 rc=0");
}

TEST_F(KalSetEndOfJobModeTest, DirtAboveTheArgumentsIsCutOff) {
    const auto call = library<int32_t(uint64_t, uint64_t, uint64_t, uint64_t, uint64_t)>("KalSetEndOfJobMode");
    EXPECT_EQ(call(dirty16(1), dirty16(0x8001), dirty16(2), dirty16(3), dirty16(2)), KAL_OKAY);
    EXPECT_EQ(service.lastCall("OrxSetJobStringPrinter").number(1), 0x8001u);
    EXPECT_EQ(service.lastCall("OrxSetJobStringPrinter").text(3), "2000");
}

// --------------------------------------------------------------------------------------------------- cancel

class KalSetJobCancelModeTest : public RegisteredApplication {
  protected:
    KalSetJobCancelModeTest() {
        service.does("OrxSetByteArrayPrinter", [this](const ServiceCall &call) {
            jobIdBytes.assign(call.pointer<uint8_t>(3), call.pointer<uint8_t>(3) + call.number(4));
            return answer;
        });
    }

    std::vector<uint8_t> jobIdBytes;
    uint32_t answer = 0;
};

TEST_F(KalSetJobCancelModeTest, PassesTheJobIdMostSignificantByteFirst) {
    EXPECT_EQ(KalSetJobCancelMode(9, 5, 0x01020304), KAL_OKAY);
    EXPECT_THAT(service.operations(), ElementsAre("OrxSetByteArrayPrinter"));
    const auto call = service.lastCall("OrxSetByteArrayPrinter");
    EXPECT_EQ(call.number(0), 101u);
    EXPECT_EQ(call.number(1), 5u);
    EXPECT_EQ(call.text(2), tripletJobId);
    EXPECT_EQ(call.number(4), 4u);
    EXPECT_THAT(jobIdBytes, ElementsAre(1, 2, 3, 4));
}

TEST_F(KalSetJobCancelModeTest, LowestJobIdIsPassed) {
    EXPECT_EQ(KalSetJobCancelMode(0, 5, 1), KAL_OKAY);
    EXPECT_THAT(jobIdBytes, ElementsAre(0, 0, 0, 1));
}

TEST_F(KalSetJobCancelModeTest, HighestJobIdIsPassed) {
    EXPECT_EQ(KalSetJobCancelMode(0, 5, INT32_MAX), KAL_OKAY);
    EXPECT_THAT(jobIdBytes, ElementsAre(0x7F, 0xFF, 0xFF, 0xFF));
}

class KalSetJobCancelModeRefusedTest : public RegisteredApplication, public testing::WithParamInterface<int32_t> {};

TEST_P(KalSetJobCancelModeRefusedTest, JobIdBelowOneFailsWithoutTheService) {
    EXPECT_EQ(KalSetJobCancelMode(0, 5, GetParam()), KAL_FAIL);
    EXPECT_THAT(service.sequence(), IsEmpty());
    const auto description = "KalSetJobCancelMode() handle=5 jobId=" + std::to_string(GetParam());
    EXPECT_THAT(machine.logTexts(), ElementsAre("+" + description, "-" + description + " rc=KAL_FAIL"));
}

INSTANTIATE_TEST_SUITE_P(Ids, KalSetJobCancelModeRefusedTest, testing::Values(0, -1, INT32_MIN));

class KalSetJobCancelModeCodeTest : public KalSetJobCancelModeTest, public testing::WithParamInterface<uint32_t> {};

TEST_P(KalSetJobCancelModeCodeTest, EveryCodeOfTheServiceButZeroIsAFailure) {
    answer = GetParam();
    EXPECT_EQ(KalSetJobCancelMode(0, 5, 12), KAL_FAIL);
    EXPECT_THAT(machine.logTexts(), ElementsAre("+KalSetJobCancelMode() handle=5 jobId=12",
                                                "-KalSetJobCancelMode() handle=5 jobId=12 rc=KAL_FAIL"));
}

INSTANTIATE_TEST_SUITE_P(Codes, KalSetJobCancelModeCodeTest, testing::Values(1u, 2u, 6u, 170u, 1168u, 0xFFFFFFFFu));

TEST_F(KalSetJobCancelModeTest, TraceNamesHandleJobAndSuccess) {
    KalSetJobCancelMode(0, 65535, 12);
    EXPECT_THAT(machine.logTexts(), ElementsAre("+KalSetJobCancelMode() handle=65535 jobId=12",
                                                "-KalSetJobCancelMode() handle=65535 jobId=12 rc=KAL_OKAY"));
}

TEST_F(KalSetJobCancelModeTest, MissingEntryPointIsAFailure) {
    service.lacks("OrxSetByteArrayPrinter");
    EXPECT_EQ(KalSetJobCancelMode(0, 5, 1), KAL_FAIL);
}

TEST_F(KalSetJobCancelModeTest, DirtAboveTheArgumentsIsCutOff) {
    const auto call = library<int32_t(uint64_t, uint64_t, uint64_t)>("KalSetJobCancelMode");
    EXPECT_EQ(call(dirty16(0), dirty16(0x8001), dirty32(1)), KAL_OKAY);
    EXPECT_EQ(service.lastCall("OrxSetByteArrayPrinter").number(1), 0x8001u);
    EXPECT_THAT(jobIdBytes, ElementsAre(0, 0, 0, 1));
}

// --------------------------------------------------------------------------------------------------- control

class KalSetJobControlModeTest : public RegisteredApplication {
  protected:
    void startNotifications(uint16_t handle = 5) {
        ASSERT_EQ(KalSetJobControlMode(0, handle, 2), KAL_OKAY);
        forget();
    }
    std::string exitLine() const { return machine.logTexts().back(); }
};

TEST_F(KalSetJobControlModeTest, StartOpensAndRegistersForAllNotifications) {
    EXPECT_EQ(KalSetJobControlMode(0, 5, 2), KAL_OKAY);
    EXPECT_THAT(service.operations(), ElementsAre("OrxOpenPrinter", "OrxRegisterForNotificationsPrinter"));
    EXPECT_EQ(service.lastCall("OrxOpenPrinter").number(1), 5u);
    const auto call = service.lastCall("OrxRegisterForNotificationsPrinter");
    EXPECT_EQ(call.number(0), 101u);
    EXPECT_EQ(call.number(1), 5u);
    EXPECT_EQ(call.number(2), 0xFFFFFFFFu);
    EXPECT_NE(call.pointer<void>(3), nullptr);
}

TEST_F(KalSetJobControlModeTest, StartRegistersTheLibrarysOwnCallback) {
    startNotifications();
    KalSetJobControlMode(0, 5, 2);
    auto *callback = service.lastCall("OrxRegisterForNotificationsPrinter")
                         .callback<uint32_t(uint32_t, uint32_t, uint32_t, const uint32_t *, void *, void *)>(3);
    machine.deleteLog();
    EXPECT_EQ(callback(5, 1, 4, nullptr, nullptr, nullptr), 0u);
    EXPECT_THAT(machine.logTexts(),
                ElementsAre("KalNotificationCallback() handle=5 notification=4 category=1",
                            "0, No clients are registered for alerts, so we cannot send notifications."));
}

TEST_F(KalSetJobControlModeTest, StartTracesItsResult) {
    KalSetJobControlMode(0, 5, 2);
    EXPECT_THAT(machine.logTexts(),
                ElementsAre("+KalSetJobControlMode() handle=5", "-KalSetJobControlMode() handle=5 rc=KAL_OKAY"));
}

class KalSetJobControlModeOpenTest : public KalSetJobControlModeTest, public testing::WithParamInterface<uint32_t> {};

TEST_P(KalSetJobControlModeOpenTest, StartOnAHandleThatCannotBeOpenedDoesNotRegister) {
    service.answers("OrxOpenPrinter", GetParam());
    EXPECT_EQ(KalSetJobControlMode(0, 5, 2), DEVERR_INVHANDLE);
    EXPECT_THAT(service.operations(), ElementsAre("OrxOpenPrinter"));
    EXPECT_EQ(exitLine(), "-KalSetJobControlMode() handle=5 rc=DEVERR_INVHANDLE");
}

INSTANTIATE_TEST_SUITE_P(Codes, KalSetJobControlModeOpenTest, testing::Values(1u, 2u, 6u, 170u, 1168u, 0xFFFFFFFFu));

struct ControlResult {
    uint32_t code;
    int32_t result;
    const char *name;
};

void PrintTo(const ControlResult &row, std::ostream *stream) {
    *stream << "code " << row.code;
}

constexpr ControlResult controlResults[] = {
    {0, KAL_OKAY, "KAL_OKAY"},
    {1, DEVERR_INVHANDLE, "DEVERR_INVHANDLE"},
    {2, DEVERR_CONNECT, "DEVERR_CONNECT"},
    {3, KAL_OKAY, "KAL_OKAY"},
    {6, KAL_OKAY, "KAL_OKAY"},
    {170, KAL_OKAY, "KAL_OKAY"},
    {1168, KAL_OKAY, "KAL_OKAY"},
    {0xFFFFFFFF, KAL_OKAY, "KAL_OKAY"},
};

class KalSetJobControlModeCodeTest : public KalSetJobControlModeTest,
                                     public testing::WithParamInterface<ControlResult> {};

TEST_P(KalSetJobControlModeCodeTest, StartMapsTheCodeOfTheRegistration) {
    service.answers("OrxRegisterForNotificationsPrinter", GetParam().code);
    EXPECT_EQ(KalSetJobControlMode(0, 5, 2), GetParam().result);
    EXPECT_EQ(exitLine(), std::string("-KalSetJobControlMode() handle=5 rc=") + GetParam().name);
}

TEST_P(KalSetJobControlModeCodeTest, StopMapsTheCodeOfTheUnregistration) {
    startNotifications();
    service.answers("OrxUnregisterForNotificationsPrinter", GetParam().code);
    EXPECT_EQ(KalSetJobControlMode(0, 5, 1), GetParam().result);
    EXPECT_THAT(service.operations(), ElementsAre("OrxUnregisterForNotificationsPrinter", "OrxClosePrinter"));
    EXPECT_EQ(exitLine(), std::string("-KalSetJobControlMode() handle=5 rc=") + GetParam().name);
}

INSTANTIATE_TEST_SUITE_P(Codes, KalSetJobControlModeCodeTest, testing::ValuesIn(controlResults));

TEST_F(KalSetJobControlModeTest, StartThatCannotRegisterKeepsItsOpen) {
    service.answers("OrxRegisterForNotificationsPrinter", 5);
    KalSetJobControlMode(0, 5, 2);
    EXPECT_EQ(service.count("OrxClosePrinter"), 0u);
    EXPECT_EQ(KalClose(0, 5), KAL_OKAY);
    EXPECT_EQ(KalClose(0, 5), DEVERR_INVHANDLE);
}

TEST_F(KalSetJobControlModeTest, StopGivesTheOpenBack) {
    startNotifications();
    EXPECT_EQ(KalSetJobControlMode(0, 5, 1), KAL_OKAY);
    EXPECT_EQ(service.lastCall("OrxUnregisterForNotificationsPrinter").number(1), 5u);
    EXPECT_EQ(service.lastCall("OrxClosePrinter").number(1), 5u);
    EXPECT_EQ(KalClose(0, 5), DEVERR_INVHANDLE);
}

TEST_F(KalSetJobControlModeTest, StopIgnoresTheCodeOfTheClose) {
    startNotifications();
    service.answers("OrxClosePrinter", 6);
    EXPECT_EQ(KalSetJobControlMode(0, 5, 1), KAL_OKAY);
}

TEST_F(KalSetJobControlModeTest, StopAnsweredOneSaysSuccessButIsAnInvalidHandle) {
    startNotifications();
    service.answers("OrxUnregisterForNotificationsPrinter", 1);
    EXPECT_EQ(KalSetJobControlMode(0, 5, 1), DEVERR_INVHANDLE);
    EXPECT_EQ(service.count("OrxClosePrinter"), 1u);
    const std::string text = "unregisterForNotifications() rc=ERROR_INVALID_FUNCTION,                     mapping to "
                             "ERROR_SUCCESS";
    EXPECT_THAT(machine.logTexts(), ElementsAre("+KalSetJobControlMode() handle=5", text,
                                                "-KalSetJobControlMode() handle=5 rc=DEVERR_INVHANDLE"));
    // One blank behind the component, one for the open trace, one of the text's own.
    EXPECT_EQ(machine.logLines()[1], "LegacyClient   " + std::string(3, ' ') + text);
}

TEST_F(KalSetJobControlModeTest, StopOfAHandleThatIsNotOpenIsAnInvalidHandle) {
    EXPECT_EQ(KalSetJobControlMode(0, 5, 1), DEVERR_INVHANDLE);
    EXPECT_THAT(service.operations(), IsEmpty());
}

TEST_F(KalSetJobControlModeTest, EachStartNeedsItsStop) {
    startNotifications();
    startNotifications();
    EXPECT_EQ(KalSetJobControlMode(0, 5, 1), KAL_OKAY);
    EXPECT_EQ(KalSetJobControlMode(0, 5, 1), KAL_OKAY);
    EXPECT_EQ(KalSetJobControlMode(0, 5, 1), DEVERR_INVHANDLE);
}

TEST_F(KalSetJobControlModeTest, Mode128IsRefused) {
    EXPECT_EQ(KalSetJobControlMode(0, 5, 128), KAL_FAIL);
    EXPECT_THAT(service.sequence(), IsEmpty());
    EXPECT_THAT(machine.logTexts(),
                ElementsAre("+KalSetJobControlMode() handle=5", "-KalSetJobControlMode() handle=5 rc=KAL_FAIL"));
}

class KalSetJobControlModeOtherTest : public RegisteredApplication, public testing::WithParamInterface<uint32_t> {};

TEST_P(KalSetJobControlModeOtherTest, OtherModesDoNothing) {
    EXPECT_EQ(KalSetJobControlMode(0, 5, GetParam()), KAL_OKAY);
    EXPECT_THAT(service.sequence(), IsEmpty());
    EXPECT_THAT(machine.logTexts(),
                ElementsAre("+KalSetJobControlMode() handle=5", "-KalSetJobControlMode() handle=5 rc=KAL_OKAY"));
}

INSTANTIATE_TEST_SUITE_P(Modes, KalSetJobControlModeOtherTest,
                         testing::Values(0u, 3u, 4u, 127u, 129u, 130u, 256u, 0x10001u, 0x10002u, 0x10080u, 0x80000001u,
                                         0xFFFFFFFFu));

TEST_F(KalSetJobControlModeTest, DirtAboveTheArgumentsIsCutOff) {
    const auto call = library<int32_t(uint64_t, uint64_t, uint64_t)>("KalSetJobControlMode");
    EXPECT_EQ(call(dirty16(0), dirty16(0x8005), dirty32(2)), KAL_OKAY);
    EXPECT_EQ(service.lastCall("OrxRegisterForNotificationsPrinter").number(1), 0x8005u);
    EXPECT_EQ(call(dirty16(0), dirty16(0x8005), dirty32(1)), KAL_OKAY);
    EXPECT_EQ(service.lastCall("OrxClosePrinter").number(1), 0x8005u);
}

// --------------------------------------------------------------------------------------------------- strings

class KalSetJobStringPrinterTest : public RegisteredApplication {};

TEST_F(KalSetJobStringPrinterTest, HandsKeyAndValueToTheService) {
    EXPECT_EQ(KalSetJobStringPrinter(3, 5, "Owner", "Ada"), KAL_OKAY);
    EXPECT_THAT(service.operations(), ElementsAre("OrxSetJobStringPrinter"));
    const auto call = service.lastCall("OrxSetJobStringPrinter");
    EXPECT_EQ(call.number(0), 101u);
    EXPECT_EQ(call.number(1), 5u);
    EXPECT_EQ(call.text(2), "Owner");
    EXPECT_EQ(call.text(3), "Ada");
}

TEST_F(KalSetJobStringPrinterTest, EmptyKeyAndValueAreHandedOver) {
    EXPECT_EQ(KalSetJobStringPrinter(0, 5, "", ""), KAL_OKAY);
    EXPECT_EQ(service.count("OrxSetJobStringPrinter"), 1u);
}

TEST_F(KalSetJobStringPrinterTest, LongValueIsHandedOverWhole) {
    const std::string value(100000, 'v');
    std::string received;
    service.does("OrxSetJobStringPrinter", [&](const ServiceCall &call) {
        received = call.pointer<char>(3);
        return 0u;
    });
    EXPECT_EQ(KalSetJobStringPrinter(0, 5, "key", value.c_str()), KAL_OKAY);
    EXPECT_EQ(received, value);
}

TEST_F(KalSetJobStringPrinterTest, RefusalByTheServiceIsSuccess) {
    service.answers("OrxSetJobStringPrinter", 87);
    EXPECT_EQ(KalSetJobStringPrinter(0, 5, "key", "value"), KAL_OKAY);
    EXPECT_EQ(machine.logTexts().back(), "-KalSetJobStringPrinter() handle=5 key=key value=value rc=0");
}

TEST_F(KalSetJobStringPrinterTest, TraceNamesHandleKeyAndValue) {
    KalSetJobStringPrinter(0, 5, "Owner", "Ada L");
    EXPECT_THAT(machine.logTexts(), ElementsAre("+KalSetJobStringPrinter() handle=5 key=Owner value=Ada L",
                                                "-KalSetJobStringPrinter() handle=5 key=Owner value=Ada L rc=0"));
}

struct NullText {
    const char *key;
    const char *value;
    const char *description;
};

void PrintTo(const NullText &row, std::ostream *stream) {
    *stream << row.description;
}

class KalSetJobStringPrinterNullTest : public RegisteredApplication, public testing::WithParamInterface<NullText> {};

TEST_P(KalSetJobStringPrinterNullTest, NullKeyOrValueFailsWithoutTheService) {
    EXPECT_EQ(KalSetJobStringPrinter(0, 5, GetParam().key, GetParam().value), KAL_FAIL);
    EXPECT_THAT(service.sequence(), IsEmpty());
    const std::string description = GetParam().description;
    EXPECT_THAT(machine.logTexts(), ElementsAre("+" + description, "KalSetJobStringPrinter() Key or Value = NULL",
                                                "-" + description + " rc=KAL_FAIL"));
}

INSTANTIATE_TEST_SUITE_P(Arguments, KalSetJobStringPrinterNullTest,
                         testing::Values(NullText{nullptr, "v", "KalSetJobStringPrinter() handle=5 key= value=v"},
                                         NullText{"k", nullptr, "KalSetJobStringPrinter() handle=5 key=k value="},
                                         NullText{nullptr, nullptr, "KalSetJobStringPrinter() handle=5 key= value="}));

class QuietJobModeTest : public QuietApplication {};

TEST_F(QuietJobModeTest, NullKeyIsLoggedWithTheTraceOff) {
    KalSetJobStringPrinter(0, 5, nullptr, "v");
    EXPECT_THAT(machine.logTexts(), ElementsAre(testing::EndsWith("KalSetJobStringPrinter() Key or Value = NULL")));
}

TEST_F(QuietJobModeTest, StopAnsweredOneLogsNothingWithTheTraceOff) {
    ASSERT_EQ(KalSetJobControlMode(0, 5, 2), KAL_OKAY);
    service.answers("OrxUnregisterForNotificationsPrinter", 1);
    EXPECT_EQ(KalSetJobControlMode(0, 5, 1), DEVERR_INVHANDLE);
    EXPECT_THAT(machine.logLines(), IsEmpty());
}

TEST_F(KalSetJobStringPrinterTest, DirtAboveTheHandleIsCutOff) {
    const auto call = library<int32_t(uint64_t, uint64_t, const char *, const char *)>("KalSetJobStringPrinter");
    EXPECT_EQ(call(dirty16(0), dirty16(0xFFFF), "k", "v"), KAL_OKAY);
    EXPECT_EQ(service.lastCall("OrxSetJobStringPrinter").number(1), 0xFFFFu);
}

// ------------------------------------------------------------------------------- without the service's library

TEST(JobModeWithoutService, OnlyExportsThatReportCodesFail) {
    PrivateMachine machine;
    StagedLibrary library(ComcFile::missing);
    library.function<decltype(KalRegisterApp)>("KalRegisterApp")(0);
    EXPECT_EQ(library.function<decltype(KalSetEndOfJobMode)>("KalSetEndOfJobMode")(0, 5, 0, 0, 1), KAL_OKAY);
    EXPECT_EQ(library.function<decltype(KalSetJobStringPrinter)>("KalSetJobStringPrinter")(0, 5, "k", "v"), KAL_OKAY);
    EXPECT_EQ(library.function<decltype(KalSetJobCancelMode)>("KalSetJobCancelMode")(0, 5, 1), KAL_FAIL);
    EXPECT_EQ(library.function<decltype(KalSetJobControlMode)>("KalSetJobControlMode")(0, 5, 2), DEVERR_INVHANDLE);
    library.function<decltype(KalUnregisterApp)>("KalUnregisterApp")(0);
}

} // namespace
} // namespace kal::test
