#include "platform/Exception.h"
#include "tests/contract/alerts/AlertFixture.h"

#include <new>

namespace kal::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class KalCaptureAlertsTest : public AlertTest {
  protected:
    uint32_t serviceMaskFor(uint32_t clientMask) {
        capture(5, window, clientMask);
        return service.lastCall("OrxRegisterForAlertsPrinter").number(2);
    }
};

TEST_F(KalCaptureAlertsTest, OpensAndRegistersInThisOrder) {
    EXPECT_EQ(capture(5, window, 0x1), KAL_OKAY);
    EXPECT_THAT(service.operations(), ElementsAre("OrxOpenPrinter", "OrxRegisterForAlertsPrinter"));
    EXPECT_EQ(service.lastCall("OrxOpenPrinter").number(1), 5u);
    const auto call = service.lastCall("OrxRegisterForAlertsPrinter");
    EXPECT_EQ(call.number(0), 101u);
    EXPECT_EQ(call.number(1), 5u);
    EXPECT_EQ(call.number(2), 1u);
    EXPECT_NE(call.arguments[3], 0u);
}

TEST_F(KalCaptureAlertsTest, MaskIsMappedToTheServices) {
    EXPECT_EQ(serviceMaskFor(0x3FF), 0x3FFu);
    EXPECT_EQ(serviceMaskFor(0x400), 0u);
    EXPECT_EQ(serviceMaskFor(0x10000), 0x80000u);
    EXPECT_EQ(serviceMaskFor(0x4000000), 0x1000000u);
    EXPECT_EQ(serviceMaskFor(0xFFBFFFFF), 0x1EFFFFFu);
    EXPECT_EQ(serviceMaskFor(0xFFFFFFFF), 0x100000u);
}

TEST_F(KalCaptureAlertsTest, TraceNamesHandleAndWindow) {
    capture(40000, window);
    EXPECT_THAT(machine.logTexts(),
                ElementsAre("+KalCaptureAlerts() handle=40000, hwnd=0x0000000000054321",
                            "-KalCaptureAlerts() handle=40000, hwnd=0x0000000000054321 rc=KAL_OKAY"));
}

TEST_F(KalCaptureAlertsTest, NullWindowIsWrittenAsNothing) {
    capture(5, nullptr);
    EXPECT_THAT(machine.logTexts(),
                ElementsAre("+KalCaptureAlerts() handle=5, hwnd=", "-KalCaptureAlerts() handle=5, hwnd= rc=KAL_OKAY"));
}

TEST_F(KalCaptureAlertsTest, NullMaskFailsWithoutTheService) {
    EXPECT_EQ(library.function<decltype(KalCaptureAlerts)>("KalCaptureAlerts")(0, 5, nullptr, window), KAL_FAIL);
    EXPECT_THAT(service.sequence(), IsEmpty());
    EXPECT_THAT(machine.logTexts(), Contains("KalCaptureAlerts() mask = NULL"));
    EXPECT_EQ(machine.logTexts().back(), "-KalCaptureAlerts() handle=5, hwnd=0x0000000000054321 rc=KAL_FAIL");
    EXPECT_EQ(release(5), DEVERR_INVHANDLE);
}

class KalCaptureAlertsCodeTest : public KalCaptureAlertsTest, public testing::WithParamInterface<uint32_t> {};

TEST_P(KalCaptureAlertsCodeTest, FailedOpenIsAnInvalidHandle) {
    service.answers("OrxOpenPrinter", GetParam());
    EXPECT_EQ(capture(5, window), DEVERR_INVHANDLE);
    EXPECT_THAT(service.operations(), ElementsAre("OrxOpenPrinter"));
    const std::string description = "KalCaptureAlerts() handle=5, hwnd=0x0000000000054321";
    EXPECT_THAT(machine.logTexts(),
                ElementsAre("+" + description, "openPrinter() failed, rc=" + std::to_string(GetParam()),
                            "-" + description + " rc=DEVERR_INVHANDLE"));
}

TEST_P(KalCaptureAlertsCodeTest, FailedRegistrationClosesAgain) {
    service.answers("OrxRegisterForAlertsPrinter", GetParam());
    EXPECT_EQ(capture(5, window), KAL_FAIL);
    EXPECT_THAT(service.operations(), ElementsAre("OrxOpenPrinter", "OrxRegisterForAlertsPrinter", "OrxClosePrinter"));
    EXPECT_EQ(service.lastCall("OrxClosePrinter").number(1), 5u);
    const std::string description = "KalCaptureAlerts() handle=5, hwnd=0x0000000000054321";
    EXPECT_THAT(machine.logTexts(), ElementsAre("+" + description, "-" + description + " rc=KAL_FAIL, errorCode=" +
                                                                       std::to_string(GetParam())));
}

INSTANTIATE_TEST_SUITE_P(Codes, KalCaptureAlertsCodeTest, testing::Values(1u, 6u, 170u, 1168u, 0xFFFFFFFFu));

TEST_F(KalCaptureAlertsTest, FailedCaptureIsNotCounted) {
    service.answers("OrxRegisterForAlertsPrinter", 5);
    capture(5, window);
    EXPECT_EQ(release(5), DEVERR_INVHANDLE);
}

TEST_F(KalCaptureAlertsTest, WithoutMemoryNothingStaysOpenOrRegistered) {
    int undone = 0;
    bool hasFailed = true;
    for (int nth = 0; hasFailed; ++nth) {
        forget();
        const auto handle = static_cast<uint16_t>(100 + nth); // a handle captured before needs no memory
        int left = nth;
        bool isRaised = false;
        {
            const ImportHook<"malloc", void *(size_t)> memory(
                library.module(), [&](size_t size) { return left-- == 0 ? nullptr : memory.original(size); });
            try {
                capture(handle, window);
            } catch (const std::bad_alloc &) {
                isRaised = true;
            }
        }
        hasFailed = left < 0;
        if (isRaised && service.count("OrxRegisterForAlertsPrinter") > 0) {
            ++undone;
            EXPECT_THAT(service.operations(), ElementsAre("OrxOpenPrinter", "OrxRegisterForAlertsPrinter",
                                                          "OrxUnregisterForAlertsPrinter", "OrxClosePrinter"))
                << nth;
        }
        EXPECT_EQ(release(handle), isRaised ? DEVERR_INVHANDLE : KAL_OKAY) << nth;
    }
    EXPECT_GT(undone, 0);
}

TEST_F(KalCaptureAlertsTest, FailedCaptureDoesNotReplaceTheWindow) {
    captureForWindow();
    service.answersInTurn("OrxRegisterForAlertsPrinter", {5});
    capture(6, reinterpret_cast<HWND>(0x777));
    service.answersInTurn("OrxOpenPrinter", {5});
    capture(7, reinterpret_cast<HWND>(0x777));
    deliver(powerOnReset());
    EXPECT_THAT(posted(), ElementsAre(Posted{window, 0x5F4, 5, 0}));
}

TEST_F(KalCaptureAlertsTest, CaptureThatCannotBeCountedDoesNotReplaceTheWindow) {
    captureForWindow();
    {
        const ImportHook<"WaitForSingleObject", DWORD(HANDLE, DWORD)> lock(library.module(), [](HANDLE, DWORD) {
            SetLastError(ERROR_INVALID_HANDLE);
            return WAIT_FAILED;
        });
        EXPECT_THROW(capture(6, reinterpret_cast<HWND>(0x777)), Win32Exception);
        EXPECT_GT(lock.calls(), 0);
    }
    deliver(powerOnReset());
    EXPECT_THAT(posted(), ElementsAre(Posted{window, 0x5F4, 5, 0}));
}

TEST_F(KalCaptureAlertsTest, WithoutMemoryTheWindowIsNotReplaced) {
    captureForWindow();
    int raised = 0;
    bool hasFailed = true;
    for (int nth = 0; hasFailed; ++nth) {
        bool isRaised = false;
        int left = nth;
        {
            const ImportHook<"malloc", void *(size_t)> memory(
                library.module(), [&](size_t size) { return left-- == 0 ? nullptr : memory.original(size); });
            try {
                // A handle captured before needs no memory.
                capture(static_cast<uint16_t>(100 + nth), reinterpret_cast<HWND>(0x777));
            } catch (const std::bad_alloc &) {
                isRaised = true;
            }
        }
        hasFailed = left < 0;
        raised += isRaised ? 1 : 0;
        forget();
        deliver(powerOnReset());
        ASSERT_EQ(posted().size(), 1u);
        if (isRaised) {
            ASSERT_EQ(posted()[0].window, window) << "after the failure of allocation " << nth;
        } else {
            ASSERT_EQ(capture(5, window), KAL_OKAY);
        }
    }
    EXPECT_GT(raised, 0);
}

TEST_F(KalCaptureAlertsTest, LatestWindowReceivesTheAlertsOfAllHandles) {
    captureForWindow();
    const auto other = reinterpret_cast<HWND>(0x777);
    capture(6, other);
    forget();
    deliver(powerOnReset(), 5);
    deliver(powerOnReset(), 6);
    deliver(powerOnReset(), 7);
    EXPECT_THAT(posted(), ElementsAre(Posted{other, 0x5F4, 5, 0}, Posted{other, 0x5F4, 0x10006, 0},
                                      Posted{other, 0x5F4, 0x20007, 0}));
}

TEST_F(KalCaptureAlertsTest, DirtAboveTheHandleIsCutOff) {
    const uint32_t mask = 1;
    const auto call = library.function<int32_t(uint64_t, uint64_t, const uint32_t *, HWND)>("KalCaptureAlerts");
    EXPECT_EQ(call(0xDEADBEEFDEAD0001, 0xDEADBEEFDEAD8005, &mask, window), KAL_OKAY);
    EXPECT_EQ(service.lastCall("OrxRegisterForAlertsPrinter").number(1), 0x8005u);
    EXPECT_EQ(release(0x8005), KAL_OKAY);
}

// ----------------------------------------------------------------------------------------------------- release

class KalReleaseAlertsTest : public AlertTest {
  protected:
    void capture(uint16_t handle) {
        ASSERT_EQ(AlertTest::capture(handle, window), KAL_OKAY);
        forget();
    }
};

TEST_F(KalReleaseAlertsTest, HandleNeverCapturedAsksNothing) {
    EXPECT_EQ(release(5), DEVERR_INVHANDLE);
    EXPECT_THAT(service.sequence(), IsEmpty());
    EXPECT_THAT(machine.logTexts(),
                ElementsAre("+KalReleaseAlerts() handle=5", "-KalReleaseAlerts() handle=5 rc=DEVERR_INVHANDLE"));
}

TEST_F(KalReleaseAlertsTest, UnregistersAndCloses) {
    capture(5);
    EXPECT_EQ(release(5), KAL_OKAY);
    EXPECT_THAT(service.operations(), ElementsAre("OrxUnregisterForAlertsPrinter", "OrxClosePrinter"));
    EXPECT_EQ(service.lastCall("OrxUnregisterForAlertsPrinter").number(0), 101u);
    EXPECT_EQ(service.lastCall("OrxUnregisterForAlertsPrinter").number(1), 5u);
    EXPECT_EQ(service.lastCall("OrxClosePrinter").number(1), 5u);
    // The close took the last open, so the handle is unknown when notifications are to be ended.
    EXPECT_THAT(machine.logTexts(),
                ElementsAre("+KalReleaseAlerts() handle=5", "unregisterForNotificationsPrinter() failed, errorCode=1",
                            "-KalReleaseAlerts() handle=5 rc=KAL_OKAY"));
}

TEST_F(KalReleaseAlertsTest, EndsNotificationsAndClosesOnceMore) {
    capture(5);
    controlMode(5, 2);
    forget();
    EXPECT_EQ(release(5), KAL_OKAY);
    EXPECT_THAT(service.operations(), ElementsAre("OrxUnregisterForAlertsPrinter", "OrxClosePrinter",
                                                  "OrxUnregisterForNotificationsPrinter", "OrxClosePrinter"));
    std::vector<uint32_t> handles;
    for (const ServiceCall &call : service.calls()) {
        if (argumentKinds(call.entryPoint).starts_with("IH")) {
            handles.push_back(call.number(1));
        }
    }
    EXPECT_THAT(handles, ElementsAre(5, 5, 5, 5));
    EXPECT_THAT(machine.logTexts(),
                ElementsAre("+KalReleaseAlerts() handle=5", "-KalReleaseAlerts() handle=5 rc=KAL_OKAY"));
    EXPECT_EQ(controlMode(5, 1), DEVERR_INVHANDLE);
}

TEST_F(KalReleaseAlertsTest, ClosesWhoeverMadeTheOpen) {
    capture(5);
    ASSERT_EQ((library.function<decltype(KalOpen)>("KalOpen")(0, 5, 0)), KAL_OKAY);
    release(5);
    EXPECT_EQ((library.function<decltype(KalClose)>("KalClose")(0, 5)), DEVERR_INVHANDLE);
}

TEST_F(KalReleaseAlertsTest, EachCaptureNeedsItsRelease) {
    capture(5);
    capture(5);
    capture(5);
    EXPECT_EQ(release(5), KAL_OKAY);
    EXPECT_EQ(release(5), KAL_OKAY);
    EXPECT_EQ(release(5), KAL_OKAY);
    EXPECT_EQ(release(5), DEVERR_INVHANDLE);
}

TEST_F(KalReleaseAlertsTest, EveryReleaseUnregistersAndCloses) {
    capture(5);
    capture(5);
    service.answers("OrxUnregisterForNotificationsPrinter", 5); // none were running
    release(5);
    release(5);
    EXPECT_EQ(service.count("OrxUnregisterForAlertsPrinter"), 2u);
    EXPECT_EQ(service.count("OrxClosePrinter"), 2u);
}

TEST_F(KalReleaseAlertsTest, HandlesAreCountedApart) {
    capture(5);
    capture(0x8005);
    EXPECT_EQ(release(0x8005), KAL_OKAY);
    EXPECT_EQ(release(0x8005), DEVERR_INVHANDLE);
    EXPECT_EQ(release(5), KAL_OKAY);
    EXPECT_EQ(release(5), DEVERR_INVHANDLE);
}

TEST_F(KalReleaseAlertsTest, EveryFailureIsOnlyLogged) {
    capture(5);
    controlMode(5, 2);
    forget();
    service.answers("OrxUnregisterForAlertsPrinter", 11);
    service.answers("OrxClosePrinter", 12);
    EXPECT_EQ(release(5), KAL_OKAY);
    EXPECT_THAT(machine.logTexts(),
                ElementsAre("+KalReleaseAlerts() handle=5", "unregisterForAlertsPrinter() failed, errorCode=11",
                            "closePrinter() failed, rc=12", "2nd closePrinter() failed, rc=12",
                            "-KalReleaseAlerts() handle=5 rc=KAL_OKAY"));
}

TEST_F(KalReleaseAlertsTest, SecondCloseIsLoggedApart) {
    capture(5);
    controlMode(5, 2);
    forget();
    service.answersInTurn("OrxClosePrinter", {0, 13});
    EXPECT_EQ(release(5), KAL_OKAY);
    EXPECT_THAT(machine.logTexts(), ElementsAre("+KalReleaseAlerts() handle=5", "2nd closePrinter() failed, rc=13",
                                                "-KalReleaseAlerts() handle=5 rc=KAL_OKAY"));
}

TEST_F(KalReleaseAlertsTest, FailedEndOfNotificationsSparesTheSecondClose) {
    capture(5);
    controlMode(5, 2);
    forget();
    service.answers("OrxUnregisterForNotificationsPrinter", 14);
    EXPECT_EQ(release(5), KAL_OKAY);
    EXPECT_EQ(service.count("OrxClosePrinter"), 1u);
    EXPECT_THAT(machine.logTexts(),
                ElementsAre("+KalReleaseAlerts() handle=5", "unregisterForNotificationsPrinter() failed, errorCode=14",
                            "-KalReleaseAlerts() handle=5 rc=KAL_OKAY"));
}

TEST_F(KalReleaseAlertsTest, WindowStaysWhileTheClientIdentifierIsHeld) {
    captureForWindow();
    ASSERT_EQ((library.function<decltype(KalOpen)>("KalOpen")(0, 9, 0)), KAL_OKAY);
    release(5);
    forget();
    EXPECT_EQ(notify(1), 0u);
    EXPECT_THAT(posted(), ElementsAre(Posted{window, 0x63C, 0x10005, 0}));
}

TEST_F(KalReleaseAlertsTest, CountsOutliveAnUnregistration) {
    capture(5);
    unregisterApp();
    registerApp();
    forget();
    EXPECT_EQ(release(5), KAL_OKAY);
    EXPECT_THAT(service.operations(), IsEmpty()); // the new binding does not know the handle
    EXPECT_THAT(machine.logTexts(),
                ElementsAre("+KalReleaseAlerts() handle=5", "unregisterForAlertsPrinter() failed, errorCode=1",
                            "closePrinter() failed, rc=1", "unregisterForNotificationsPrinter() failed, errorCode=1",
                            "-KalReleaseAlerts() handle=5 rc=KAL_OKAY"));
    EXPECT_EQ(release(5), DEVERR_INVHANDLE);
}

TEST_F(KalReleaseAlertsTest, DirtAboveTheHandleIsCutOff) {
    capture(0x8005);
    const auto call = library.function<int32_t(uint64_t, uint64_t)>("KalReleaseAlerts");
    EXPECT_EQ(call(0xDEADBEEFDEAD0001, 0xDEADBEEFDEAD8005), KAL_OKAY);
}

} // namespace
} // namespace kal::test
