#include "tests/contract/alerts/AlertFixture.h"

#include <cstring>

namespace kal::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr char deviceDescriptor[] = "<Name>Device</Name><Type>String</Type><Access>ReadOnly</Access>";

class AlertCallbackTest : public AlertTest {
  protected:
    AlertCallbackTest() { captureForWindow(); }

    std::string entryText(const AlertBytes &alert, uint32_t handle = 5) const {
        return "KalAlertCallback() handle=" + std::to_string(handle) + ", Alert=" + hexadecimal(alert);
    }
    AlertBytes storedPart(const AlertBytes &alert) const { return {alert.begin() + 5, alert.end()}; }
};

// --------------------------------------------------------------------------------------------- who wants it

TEST_F(AlertTest, AlertBeforeTheWindowIsKnownIsIgnored) {
    uint32_t answer = 7;
    service.does("OrxRegisterForAlertsPrinter", [&](const ServiceCall &call) {
        const AlertBytes alert = powerOnReset(12);
        answer = call.callback<AlertCallback>(3)(5, alert.data(), 12);
        return 0u;
    });
    EXPECT_EQ(capture(5, window), KAL_OKAY);
    EXPECT_EQ(answer, 0u);
    EXPECT_THAT(posted(), IsEmpty());
    EXPECT_EQ(service.count("OrxGetStringPrinter"), 0u);
    EXPECT_EQ(machine.logTexts().at(2), "No clients want this alert.");
}

TEST_F(AlertCallbackTest, AlertOfAnotherClientIdentifierIsIgnored) {
    release(5); // also gives back the open for notifications, and with the last open the identifier
    forget();
    EXPECT_EQ(deliver(powerOnReset()), 0u);
    EXPECT_THAT(posted(), IsEmpty());
    EXPECT_THAT(service.operations(), IsEmpty());
    EXPECT_THAT(machine.logTexts(), ElementsAre(entryText(powerOnReset()), "No clients want this alert."));
}

TEST_F(AlertCallbackTest, DeviceKindIsReadForTheHandle) {
    deliver(powerOnReset(), 0x12345678);
    EXPECT_THAT(service.operations(), ElementsAre("OrxGetStringPrinter"));
    const auto call = service.lastCall("OrxGetStringPrinter");
    EXPECT_EQ(call.number(0), 101u);
    EXPECT_EQ(call.number(1), 0x12345678u);
    EXPECT_EQ(call.text(2), deviceDescriptor);
    EXPECT_EQ(call.number(4), 20u);
}

TEST_F(AlertCallbackTest, UnreadableDeviceKindIsAFailure) {
    service.answers("OrxGetStringPrinter", 5);
    EXPECT_EQ(deliver(powerOnReset()), 1u);
    EXPECT_THAT(posted(), IsEmpty());
    EXPECT_THAT(machine.logTexts(), ElementsAre(entryText(powerOnReset()), "KAL_FAIL"));
}

class AlertCallbackKindTest : public AlertCallbackTest, public testing::WithParamInterface<const char *> {};

TEST_P(AlertCallbackKindTest, UnknownDeviceKindIsAFailure) {
    service.stringProperty("Device", GetParam());
    for (const AlertBytes &alert : {powerOnReset(), extendedAlert(1)}) {
        forget();
        EXPECT_EQ(deliver(alert), 1u);
        EXPECT_THAT(posted(), IsEmpty());
        EXPECT_THAT(machine.logTexts(), ElementsAre(entryText(alert), "not a valid cpd or bpd printer."));
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, AlertCallbackKindTest,
                         testing::Values("", "cpdprinter", "CPDPRINTER", "bpdPrinter", "CpdPrinte", "CpdPrinter1",
                                         "BpdPrinter ", "Scanner"));

TEST_F(AlertCallbackTest, DeviceKindThatFillsItsBufferIsNotReadBeyond) {
    service.does("OrxGetStringPrinter", [](const ServiceCall &call) {
        std::memset(call.pointer<char>(3), 'C', call.number(4));
        return 0u;
    });
    EXPECT_EQ(deliver(powerOnReset()), 1u);
    EXPECT_THAT(posted(), IsEmpty());
}

// ------------------------------------------------------------------------------------------------ CpdPrinter

TEST_F(AlertCallbackTest, CpdPowerOnResetIsPosted) {
    EXPECT_EQ(deliver(powerOnReset(8)), 0u);
    EXPECT_THAT(posted(), ElementsAre(Posted{window, 0x5F4, 5, 0}));
    EXPECT_EQ(stored(0), storedPart(powerOnReset(8)));
}

TEST_F(AlertCallbackTest, CpdPowerOnResetIsLogged) {
    deliver(powerOnReset(8));
    EXPECT_THAT(machine.logTexts(), ElementsAre("KalAlertCallback() handle=5, Alert=A5 44 44 44 FF 01 00 00",
                                                "POR alert, posting WM_KAL_DSA", "ERROR_SUCCESS"));
}

TEST_F(AlertCallbackTest, CpdStatusIsPosted) {
    EXPECT_EQ(deliver(cpdStatus(24)), 0u);
    EXPECT_THAT(posted(), ElementsAre(Posted{window, 0x640, 5, 0}));
    EXPECT_EQ(stored(0), storedPart(cpdStatus(24)));
}

TEST_F(AlertCallbackTest, CpdStatusIsLogged) {
    deliver(cpdStatus(24));
    EXPECT_THAT(machine.logTexts(),
                ElementsAre(entryText(cpdStatus(24)), "Posting WM_KAL_CPD_STATUSCHANGE", "ERROR_SUCCESS"));
}

TEST_F(AlertCallbackTest, CpdPrintResyncIsConsumed) {
    EXPECT_EQ(deliver(printResync(12)), 0u);
    EXPECT_THAT(posted(), IsEmpty());
    EXPECT_EQ(stored(0), AlertBytes());
    machine.deleteLog();
    deliver(printResync(12));
    EXPECT_THAT(machine.logTexts(),
                ElementsAre(entryText(printResync(12)), "got Print Resync Alert - consuming it..."));
}

TEST_F(AlertCallbackTest, ConsumedAlertTakesNoId) {
    deliver(printResync(12));
    deliver(powerOnReset());
    EXPECT_THAT(posted(), ElementsAre(Posted{window, 0x5F4, 5, 0}));
}

TEST_F(AlertCallbackTest, CpdPrintResyncOf13BytesIsInvalid) {
    EXPECT_EQ(deliver(printResync(13)), 87u);
}

TEST_F(AlertCallbackTest, InvalidCpdAlertIsRefused) {
    EXPECT_EQ(deliver(extendedAlert(1)), 87u);
    EXPECT_THAT(posted(), IsEmpty());
    EXPECT_THAT(machine.logTexts(), ElementsAre(entryText(extendedAlert(1)), "Invalid alert data"));
    deliver(powerOnReset());
    EXPECT_THAT(posted(), ElementsAre(Posted{window, 0x5F4, 5, 0}));
}

TEST_F(AlertCallbackTest, EmptyCpdAlertIsRefused) {
    EXPECT_EQ(onAlert(5, nullptr, 0), 87u);
    EXPECT_EQ(machine.logTexts().front(), "KalAlertCallback() handle=5, Alert=");
}

TEST_F(AlertCallbackTest, NullAlertWithALengthIsAnEmptyOne) {
    EXPECT_EQ(onAlert(5, nullptr, 12), 87u);
    EXPECT_EQ(machine.logTexts().front(), "KalAlertCallback() handle=5, Alert=");
    EXPECT_THAT(posted(), IsEmpty());
}

TEST_F(AlertCallbackTest, CpdAlertsOfEveryLength) {
    machine.removeKey();
    std::vector<size_t> lengths = {65535};
    for (size_t length = 0; length <= 64; ++length)
        lengths.push_back(length);
    for (const size_t length : lengths) {
        forget();
        EXPECT_EQ(deliver(powerOnReset(length)), length >= 8 ? 0u : 87u) << length;
        EXPECT_THAT(posted(), SizeIs(length >= 8 ? 1 : 0)) << length;
        EXPECT_EQ(deliver(cpdStatus(length)), length >= 24 ? 0u : 87u) << length;
        EXPECT_EQ(deliver(printResync(length)), length == 12 ? 0u : 87u) << length;
        EXPECT_THAT(posted(), SizeIs((length >= 8 ? 1 : 0) + (length >= 24 ? 1 : 0))) << length;
        for (const Posted &message : posted())
            EXPECT_EQ(stored(message.high()),
                      storedPart(message.message == 0x5F4 ? powerOnReset(length) : cpdStatus(length)))
                << length;
    }
}

TEST_F(AlertCallbackTest, CpdAlertsWithEveryHeadByteWrong) {
    machine.removeKey();
    for (const size_t offset : {0u, 4u, 5u, 6u, 7u, 8u, 9u, 10u, 11u})
        for (int value = 0; value < 256; ++value) {
            for (AlertBytes alert : {cpdStatus(24), printResync(12)}) {
                if (alert[offset] == value)
                    continue;
                alert[offset] = static_cast<uint8_t>(value);
                if (alert == printResync(12) || (offset == 8 && value == 0x10))
                    continue;
                ASSERT_EQ(deliver(alert), 87u) << offset << " " << value << " " << alert.size();
            }
        }
    EXPECT_THAT(posted(), IsEmpty());
}

TEST_F(AlertCallbackTest, CpdAlertIsReadWhileItsBytesMayGo) {
    AlertBytes alert = powerOnReset(16);
    onAlert(5, alert.data(), 16);
    const AlertBytes expected = storedPart(alert);
    std::fill(alert.begin(), alert.end(), uint8_t{0});
    EXPECT_EQ(stored(0), expected);
}

// ------------------------------------------------------------------------------------------------ BpdPrinter

class BpdAlertCallbackTest : public AlertCallbackTest {
  protected:
    BpdAlertCallbackTest() { service.stringProperty("Device", "BpdPrinter"); }
};

struct BpdRow {
    AlertBytes alert;
    uint32_t message; ///< 0 for none
    const char *text;
};

void PrintTo(const BpdRow &row, std::ostream *stream) {
    *stream << hexadecimal(row.alert);
}

BpdRow withByte(BpdRow row, size_t offset, uint8_t value, uint32_t message, const char *text) {
    row.alert[offset] = value;
    row.message = message;
    row.text = text;
    return row;
}

const BpdRow jobOir = {extendedAlert(1), 0x63D, "Alert message = WM_KAL_JOBOIRALERTEX"};
const BpdRow toner = {tonerPrediction(), 0x600, "Alert message = WM_KAL_TONERPREDICTION"};
constexpr char ignoredExtension[] = "Alert is an extension alert but not one that the staus window cares about.";

const BpdRow bpdRows[] = {
    jobOir,
    {extendedAlert(2), 0x63E, "Alert message = WM_KAL_WARNINGSEX"},
    {extendedAlert(4), 0x63F, "Alert message = WM_KAL_CONFIGCHANGEEX"},
    {extendedAlert(0), 0, "Alert is an extended alert but not one that the staus window cares about."},
    {extendedAlert(3), 0, "Alert is an extended alert but not one that the staus window cares about."},
    {extendedAlert(0xFF), 0, "Alert is an extended alert but not one that the staus window cares about."},
    toner,
    {tonerPrediction(22), 0x600, "Alert message = WM_KAL_TONERPREDICTION"},
    {tonerPrediction(20), 0, ignoredExtension},
    withByte(toner, 6, 0x81, 0, ignoredExtension),
    withByte(toner, 7, 0x02, 0, ignoredExtension),
    withByte(jobOir, 5, 0x74, 0, "Alert not one that the staus window cares about."),
    withByte(jobOir, 4, 0xF1, 0, "Alert does not have a command byte of 0xF0"),
    withByte(jobOir, 0, 0xA4, 0, "Alert does not begin with 0xA5"),
    {extendedAlert(1, 5), 0, "Size of alert is not valid."},
    {{}, 0, "Size of alert is not valid."},
};

class BpdAlertRowTest : public BpdAlertCallbackTest, public testing::WithParamInterface<BpdRow> {};

TEST_P(BpdAlertRowTest, AlertIsPostedOrIgnored) {
    const BpdRow &row = GetParam();
    EXPECT_EQ(deliver(row.alert), 0u);
    if (row.message == 0) {
        EXPECT_THAT(posted(), IsEmpty());
        EXPECT_EQ(stored(0), AlertBytes());
    } else {
        EXPECT_THAT(posted(), ElementsAre(Posted{window, row.message, 5, 0}));
        EXPECT_EQ(stored(0), storedPart(row.alert));
    }
}

TEST_P(BpdAlertRowTest, VerdictIsLogged) {
    const BpdRow &row = GetParam();
    deliver(row.alert);
    EXPECT_THAT(machine.logTexts(),
                ElementsAre(entryText(row.alert), "statusWindowAlert", row.text, row.message != 0 ? "true" : "false"));
}

INSTANTIATE_TEST_SUITE_P(Rows, BpdAlertRowTest, testing::ValuesIn(bpdRows));

TEST_F(BpdAlertCallbackTest, AlertsOfEveryLength) {
    machine.removeKey();
    std::vector<size_t> lengths = {65535};
    for (size_t length = 0; length <= 64; ++length)
        lengths.push_back(length);
    for (const size_t length : lengths) {
        forget();
        EXPECT_EQ(deliver(extendedAlert(2, std::max<size_t>(length, 12))), 0u);
        EXPECT_EQ(deliver(tonerPrediction(length)), 0u);
        EXPECT_THAT(posted(), SizeIs(length >= 21 ? 2 : 1)) << length;
        for (const Posted &message : posted()) {
            const auto expected =
                message.message == 0x600 ? tonerPrediction(length) : extendedAlert(2, std::max<size_t>(length, 12));
            EXPECT_EQ(stored(message.high()), storedPart(expected)) << length;
        }
    }
}

TEST_F(BpdAlertCallbackTest, ExtendedAlertShorterThanItsTypeIsStillReadAndStoredToItsLength) {
    const AlertBytes whole = extendedAlert(4, 12);
    for (uint32_t length = 6; length <= 12; ++length) {
        forget();
        EXPECT_EQ(onAlert(5, whole.data(), length), 0u);
        ASSERT_THAT(posted(), SizeIs(1)) << length;
        EXPECT_EQ(posted()[0].message, 0x63Fu);
        EXPECT_EQ(stored(posted()[0].high()), AlertBytes(whole.begin() + 5, whole.begin() + length));
    }
}

TEST_F(BpdAlertCallbackTest, EveryHeadByteWrongIsIgnored) {
    machine.removeKey();
    for (const size_t offset : {0u, 4u, 5u})
        for (int value = 0; value < 256; ++value) {
            AlertBytes alert = extendedAlert(1);
            if (alert[offset] == value)
                continue;
            alert[offset] = static_cast<uint8_t>(value);
            ASSERT_EQ(deliver(alert), 0u) << offset << " " << value;
        }
    EXPECT_THAT(posted(), IsEmpty());
}

TEST_F(BpdAlertCallbackTest, IgnoredAlertTakesNoId) {
    deliver(extendedAlert(3));
    deliver(extendedAlert(1));
    EXPECT_THAT(posted(), ElementsAre(Posted{window, 0x63D, 5, 0}));
}

// ------------------------------------------------------------------------------------------------ ids and posts

TEST_F(AlertCallbackTest, IdsCountFromZero) {
    for (uint16_t id = 0; id < 5; ++id)
        deliver(powerOnReset());
    ASSERT_THAT(posted(), SizeIs(5));
    for (uint16_t id = 0; id < 5; ++id)
        EXPECT_EQ(posted()[id].wParam, static_cast<WPARAM>(id) << 16 | 5);
}

TEST_F(AlertCallbackTest, BothKindsShareTheIds) {
    deliver(powerOnReset());
    service.stringProperty("Device", "BpdPrinter");
    deliver(extendedAlert(1));
    EXPECT_THAT(posted(), ElementsAre(Posted{window, 0x5F4, 5, 0}, Posted{window, 0x63D, 0x10005, 0}));
}

TEST_F(AlertCallbackTest, HandleIsCutTo16Bits) {
    deliver(powerOnReset(), 0xFFFF8001);
    deliver(powerOnReset(), 0x1FFFF);
    EXPECT_THAT(posted(), ElementsAre(Posted{window, 0x5F4, 0x8001, 0}, Posted{window, 0x5F4, 0x1FFFF, 0}));
    EXPECT_EQ(machine.logTexts().front(), entryText(powerOnReset(), 0xFFFF8001));
}

TEST_F(AlertCallbackTest, InitializeSetsTheIdsBack) {
    deliver(powerOnReset(9));
    deliver(powerOnReset(10));
    EXPECT_EQ(library.function<decltype(Initialize)>("Initialize")(), 1);
    deliver(powerOnReset(11));
    ASSERT_THAT(posted(), SizeIs(3));
    EXPECT_EQ(posted()[2].high(), 0);
    EXPECT_EQ(stored(0), storedPart(powerOnReset(11)));
    EXPECT_EQ(stored(1), storedPart(powerOnReset(10)));
}

TEST_F(AlertCallbackTest, AlertIsStoredBeforeItIsPosted) {
    bool isStored = false;
    PostMessageA(nullptr, WM_NULL, 0, 0); // makes this thread's queue
    postsForReal = true;
    const HWND real = CreateWindowExA(0, "Static", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    ASSERT_NE(real, nullptr);
    ASSERT_EQ(capture(6, real), KAL_OKAY);
    deliver(powerOnReset(20));
    MSG message;
    while (PeekMessageA(&message, real, WM_USER, 0xFFFF, PM_REMOVE))
        isStored = stored(static_cast<uint16_t>(message.wParam >> 16)) == storedPart(powerOnReset(20));
    EXPECT_TRUE(isStored);
    DestroyWindow(real);
}

TEST_F(AlertCallbackTest, WindowThatIsGoneIsNoFailure) {
    postsForReal = true;
    const HWND real = CreateWindowExA(0, "Static", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    ASSERT_NE(real, nullptr);
    ASSERT_EQ(capture(6, real), KAL_OKAY);
    DestroyWindow(real);
    EXPECT_EQ(deliver(powerOnReset(20)), 0u);
    EXPECT_EQ(notify(1), 0u);
    EXPECT_EQ(stored(0), storedPart(powerOnReset(20)));
}

TEST_F(AlertCallbackTest, SameResultsWithTheLogOff) {
    machine.removeKey();
    EXPECT_EQ(deliver(powerOnReset()), 0u);
    EXPECT_EQ(deliver(printResync()), 0u);
    EXPECT_EQ(deliver(extendedAlert(1)), 87u);
    EXPECT_THAT(posted(), ElementsAre(Posted{window, 0x5F4, 5, 0}));
}

TEST_F(AlertCallbackTest, LinesOfTheCallbackAreNotIndented) {
    deliver(powerOnReset());
    const auto lines = machine.logLines();
    EXPECT_THAT(lines, Not(IsEmpty()));
    for (const std::string &line : lines) {
        EXPECT_NE(line.at(16), ' ') << line;
    }
}

// ------------------------------------------------------------------------------------------------ when it fails

TEST_F(AlertCallbackTest, LockThatCannotBeWaitedForIsAFailureAndNothingIsPosted) {
    {
        ImportHook<"WaitForSingleObject", DWORD(HANDLE, DWORD)> wait(GetModuleHandleA("kalclient.dll"),
                                                                     [](HANDLE, DWORD) { return WAIT_FAILED; });
        EXPECT_EQ(deliver(powerOnReset()), 1u);
    }
    EXPECT_THAT(posted(), IsEmpty());
    EXPECT_EQ(deliver(powerOnReset()), 0u);
    EXPECT_THAT(posted(), ElementsAre(Posted{window, 0x5F4, 5, 0}));
}

// ---------------------------------------------------------------------------------------------------- too late

TEST_F(AlertCallbackTest, AlertAfterTheLastUnregistrationAnswersOne) {
    unregisterApp();
    forget();
    EXPECT_EQ(deliver(powerOnReset()), 1u);
    EXPECT_THAT(posted(), IsEmpty());
    EXPECT_THAT(service.sequence(), IsEmpty());
    EXPECT_THAT(machine.logLines(), IsEmpty());
    registerApp();
}

TEST_F(AlertCallbackTest, NewRegistrationHasNoWindowYet) {
    unregisterApp();
    registerApp();
    EXPECT_EQ(deliver(powerOnReset()), 0u);
    EXPECT_THAT(posted(), IsEmpty());
}

} // namespace
} // namespace kal::test
