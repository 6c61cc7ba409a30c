// Drives the status window from another process, on a desktop of its own (status_window_test.sh makes one).
#include "api/kal.h"
#include "tests/examples/ProgramUnderTest.h"
#include "tests/examples/WindowDriver.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <commctrl.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <memory>
#include <optional>

namespace {

using namespace kal::test;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char *printers = R"(
  "logCalls": true,
  "printers": [
    { "handle": "0x6001", "transport": "IPv4", "port": "192.0.2.10", "device": "CpdPrinter", "printingMs": 50 },
    { "handle": "0x4001", "transport": "HBN3", "port": "HBN3_0002B3C4D5E6", "device": "BpdPrinter",
      "macAddress": "00:02:B3:C4:D5:E6" },
    { "handle": 3, "transport": "USB1", "port": "USB001", "device": "BpdPrinter", "printingMs": 50 },
    { "handle": "0x1001", "transport": "PAR1", "port": "LPT1", "device": "CpdPrinter", "reachable": false } ])";

constexpr const wchar_t *cannotBeReached = L"The printer service cannot be reached. Refresh to try again.";

enum Row { networkPrinter, hostBasedPrinter, usbPrinter, parallelPrinter };

class StatusWindow : public testing::Test {
  protected:
    /// Starts the window in front of the virtual printers and waits until it has found them.
    void start(const std::string &more = "") {
        startWith(std::string("{") + printers + more + "}", L"4 printers found.");
    }

    void startWith(const std::string &configuration, const std::wstring &expectedStatus,
                   const std::filesystem::path &folder = programFolder()) {
        service_ = std::make_unique<VirtualPrinters>(configuration);
        program_ = std::make_unique<ProgramUnderTest>(folder, L"status_window.exe");
        window_.emplace(program_->processId(), program_->process(), L"KalStatusWindow");
        ASSERT_TRUE(statusBecomes(expectedStatus, 120000)) << status(); // 200 printers on a busy machine
    }

    void startWithTwoHundredPrinters() {
        std::string list;
        for (int number = 1; number <= 200; ++number) {
            list += (list.empty() ? "" : ",") +
                    std::string(R"({ "transport": "USB1", "device": "BpdPrinter", "port": "USB)") +
                    std::to_string(number) + R"(", "handle": )" + std::to_string(number) +
                    (number % 3 == 0 ? R"(, "reachable": false })" : " }");
        }
        startWith(R"({ "printers": [)" + list + "] }", L"200 printers found.");
    }

    void TearDown() override {
        if (HasFailure() && program_ && !program_->hasEnded()) {
            std::printf("The status bar reads: %ls\n", window_ ? statusText().c_str() : L"");
        }
    }

    [[nodiscard]] std::wstring statusText() const { return WindowDriver::text(window_->control(STATUSCLASSNAMEW)); }
    [[nodiscard]] std::string status() const {
        const std::wstring text = statusText();
        return {text.begin(), text.end()};
    }
    [[nodiscard]] bool statusBecomes(const std::wstring &text, DWORD milliseconds = 20000) const {
        return eventually([&] { return statusText() == text; }, milliseconds);
    }
    [[nodiscard]] HWND printerList() const { return window_->list(L"Printers"); }
    [[nodiscard]] HWND messageList() const { return window_->list(L"Messages"); }
    [[nodiscard]] HWND progress() const { return window_->control(PROGRESS_CLASSW); }
    [[nodiscard]] long progressPosition() const {
        return static_cast<long>(SendMessageW(progress(), PBM_GETPOS, 0, 0));
    }

    /// The second and third column of the messages, the newest first.
    [[nodiscard]] std::vector<std::pair<std::wstring, std::wstring>> messages() const {
        std::vector<std::pair<std::wstring, std::wstring>> messages;
        for (const auto &row : window_->rows(messageList())) {
            messages.emplace_back(row[1], row[2]);
        }
        return messages;
    }
    [[nodiscard]] int messageCount() const {
        return static_cast<int>(SendMessageW(messageList(), LVM_GETITEMCOUNT, 0, 0));
    }
    [[nodiscard]] std::wstring newestMessage() const {
        const auto shown = window_->rows(messageList(), 1);
        return shown.empty() ? L"" : shown.front()[1];
    }
    [[nodiscard]] bool messageArrives(const std::wstring &what, const std::wstring &details) const {
        return eventually([&] {
            const auto shown = messages();
            return std::ranges::find(shown, std::pair(what, details)) != shown.end();
        });
    }

    void printTestPage() const { WindowDriver::click(window_->button(L"Print &test page")); }
    [[nodiscard]] bool printingBegins() const {
        return eventually([&] { return progressPosition() > 0; });
    }
    /// Has the script around this program take a picture of the screen. @return its bytes as a BMP file
    [[nodiscard]] static std::string picture(const std::string &name) {
        const std::string request = pictureRequest();
        std::ofstream(request + ".new") << name << '\n';
        std::filesystem::rename(request + ".new", request);
        if (!eventually([&] { return !std::filesystem::exists(request); })) {
            ADD_FAILURE() << "no picture was taken";
        }
        return readFile(request + ".bmp");
    }
    [[nodiscard]] static std::string pictureRequest() {
        const char *const request = std::getenv("KAL_PICTURE_REQUEST");
        return request != nullptr ? request : "";
    }

    [[nodiscard]] bool isEnabled(const wchar_t *button) const {
        return IsWindowEnabled(window_->button(button)) != FALSE;
    }

    std::unique_ptr<VirtualPrinters> service_;
    std::unique_ptr<ProgramUnderTest> program_;
    std::optional<WindowDriver> window_;
};

// ------------------------------------------------------------------------------------------------------- printers

TEST_F(StatusWindow, ListsThePrintersOfTheService) {
    start();
    EXPECT_THAT(
        window_->rows(printerList()),
        ElementsAre(ElementsAre(L"192.0.2.10", L"Network (IPv4)", L"0x6001", L"CpdPrinter", L"Idle"),
                    ElementsAre(L"HBN3_0002B3C4D5E6", L"Network (host-based)", L"0x4001", L"BpdPrinter", L"Idle"),
                    ElementsAre(L"USB001", L"USB", L"0x0003", L"BpdPrinter", L"Idle"),
                    ElementsAre(L"LPT1", L"Parallel port", L"0x1001", L"CpdPrinter", L"Not reachable")));
}

TEST_F(StatusWindow, HeadingNamesTheFirstPrinterToBeginWith) {
    start();
    EXPECT_NE(window_->control(L"Static", L"192.0.2.10: Idle"), nullptr);
}

TEST_F(StatusWindow, HeadingFollowsTheSelection) {
    start();
    window_->select(printerList(), parallelPrinter);
    EXPECT_NE(window_->control(L"Static", L"LPT1: Not reachable"), nullptr);
}

TEST_F(StatusWindow, RefreshAsksTheServiceAgain) {
    start();
    const auto before = service_->calls("OrxEnumPrinters");
    WindowDriver::click(window_->button(L"&Refresh"));
    EXPECT_TRUE(eventually([&] { return service_->calls("OrxEnumPrinters") > before; }));
}

TEST_F(StatusWindow, RefreshKeepsTheSelectedPrinter) {
    start();
    window_->select(printerList(), usbPrinter);
    WindowDriver::click(window_->button(L"&Refresh"));
    ASSERT_TRUE(eventually([&] { return service_->calls("OrxRegisterForAlertsPrinter") == 6; }));
    ASSERT_TRUE(statusBecomes(L"4 printers found."));
    EXPECT_NE(window_->control(L"Static", L"USB001: Idle"), nullptr);
}

TEST_F(StatusWindow, RefreshKeepsTheMessagesShown) {
    start(
        R"(, "timeline": [{ "printer": "192.0.2.10", "from": "registration", "afterMs": 300, "alert": "powerOnReset" }])");
    ASSERT_TRUE(messageArrives(L"Power-on reset", L"01 00 00"));
    WindowDriver::click(window_->button(L"&Refresh"));
    ASSERT_TRUE(eventually([&] { return service_->calls("OrxRegisterForAlertsPrinter") == 6; }));
    EXPECT_TRUE(messageArrives(L"Power-on reset", L"01 00 00"));
}

TEST_F(StatusWindow, WithoutAServiceTheListIsEmpty) {
    const TemporaryFolder folder;
    for (const char *file : {"status_window.exe", "kalclient.dll"}) {
        std::filesystem::copy_file(programFolder() / file, folder / file);
    }
    startWith(std::string("{") + printers + "}", cannotBeReached, folder.path());
    EXPECT_THAT(window_->rows(printerList()), IsEmpty());
    window_->close();
    EXPECT_EQ(program_->exitCode(), 0u);
}

TEST_F(StatusWindow, UnreachableServiceIsNotTakenForAServiceWithoutPrinters) {
    startWith(std::string("{") + printers +
                  R"(, "entryPoints": { "OrxEnumPrinters": { "code": 1722 }, "OrxOpenPrinter": { "code": 1722 } } })",
              cannotBeReached);
}

TEST_F(StatusWindow, ServiceWithoutPrintersIsNotTakenForAnUnreachableOne) {
    startWith(R"({ "printers": [] })", L"0 printers found.");
}

TEST_F(StatusWindow, NameInUtf8IsShownAsItIs) {
    startWith(R"({ "printers": [{ "handle": 3, "transport": "USB1", "port": "B\u00FCro \u2013 \u65E5\u672C",
                                 "device": "BpdPrinter" }] })",
              L"1 printer found.");
    EXPECT_EQ(window_->rows(printerList()).front().front(), L"B\u00FCro \u2013 \u65E5\u672C");
    EXPECT_NE(window_->control(L"Static", L"B\u00FCro \u2013 \u65E5\u672C: Idle"), nullptr);
}

TEST_F(StatusWindow, StateHasAPictureOfItsOwn) {
    start(R"(, "timeline": [{ "printer": "USB001", "from": "registration", "afterMs": 500,
              "notification": "printingAndError" }])");
    ASSERT_TRUE(eventually([&] { return window_->rows(printerList())[usbPrinter][4] == L"Error"; }));
    const int idle = window_->image(printerList(), networkPrinter);
    const int error = window_->image(printerList(), usbPrinter);
    const int unreachable = window_->image(printerList(), parallelPrinter);
    EXPECT_NE(idle, error);
    EXPECT_NE(idle, unreachable);
    EXPECT_NE(error, unreachable);
}

// ------------------------------------------------------------------------------------------------------- messages

TEST_F(StatusWindow, AlertOfTheSelectedPrinterIsShownWithItsBytes) {
    start(
        R"(, "timeline": [{ "printer": "192.0.2.10", "from": "registration", "afterMs": 300, "alert": "tonerLow" }])");
    EXPECT_TRUE(messageArrives(L"Status changed", L"73 01 01 10 01 10 00 01 00 00 00 00 00 00 00 00 00 00 00"));
}

struct AlertCase {
    const char *alert;
    const wchar_t *text;
};

class StatusWindowAlert : public StatusWindow, public testing::WithParamInterface<AlertCase> {};

TEST_P(StatusWindowAlert, OfABpdPrinterIsShownByItsKind) {
    start(R"(, "timeline": [{ "printer": "USB001", "from": "registration", "alert": ")" +
          std::string(GetParam().alert) + "\" }]");
    window_->select(printerList(), usbPrinter);
    EXPECT_TRUE(eventually([&] { return newestMessage() == GetParam().text; }));
}

INSTANTIATE_TEST_SUITE_P(EveryKind, StatusWindowAlert,
                         testing::Values(AlertCase{"jobStatus", L"Job alert"}, AlertCase{"paperOut", L"Warning"},
                                         AlertCase{"configurationChange", L"Configuration changed"},
                                         AlertCase{"tonerPrediction", L"Toner prediction"}),
                         [](const auto &each) { return std::string(each.param.alert); });

TEST_F(StatusWindow, AlertOfAnotherPrinterIsNotShownUnderTheSelectedOne) {
    start(R"(, "timeline": [{ "printer": "USB001", "from": "registration", "alert": "tonerLow" }])");
    window_->select(printerList(), usbPrinter);
    ASSERT_TRUE(eventually([&] { return !messages().empty(); }));
    window_->select(printerList(), networkPrinter);
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(StatusWindow, AlertLongerThanTheFirstBufferIsShownWhole) {
    start(R"(, "timeline": [{ "printer": "192.0.2.10", "from": "registration", "afterMs": 300, "alert": "statusChange",
              "alertLength": 150 }])");
    ASSERT_TRUE(eventually([&] { return !messages().empty(); }));
    EXPECT_EQ(messages().front().second.size(), 145u * 3 - 1);
}

TEST_F(StatusWindow, StateNotificationChangesTheState) {
    start(R"(, "timeline": [{ "printer": "192.0.2.10", "from": "registration", "afterMs": 300,
              "notification": "printingAndError" }])");
    EXPECT_TRUE(eventually([&] { return window_->control(L"Static", L"192.0.2.10: Error") != nullptr; }));
}

TEST_F(StatusWindow, BurstOfAlertsKeepsTheLatestFiveHundred) {
    start(R"(, "timeline": [{ "printer": "192.0.2.10", "from": "registration", "afterMs": 300, "alert": "statusChange",
               "count": 600 },
             { "printer": "192.0.2.10", "from": "registration", "afterMs": 301, "alert": "powerOnReset" }])");
    ASSERT_TRUE(eventually([&] { return newestMessage() == L"Power-on reset"; }));
    EXPECT_EQ(messageCount(), 500);
}

// ------------------------------------------------------------------------------------------------------- printing

TEST_F(StatusWindow, TestPageReachesTheSpoolWhole) {
    start();
    printTestPage();
    ASSERT_TRUE(eventually([&] { return !service_->documents().empty(); }));
    const std::string page = service_->documents().front();
    EXPECT_TRUE(page.starts_with("%!PS-Adobe-3.0\n"));
    EXPECT_TRUE(page.ends_with("showpage\n%%EOF\n"));
}

TEST_F(StatusWindow, EndOfJobIsReported) {
    start();
    printTestPage();
    EXPECT_TRUE(messageArrives(L"End of job", L"flag 1"));
    EXPECT_TRUE(statusBecomes(L"The test page is printed."));
}

TEST_F(StatusWindow, JobShowsPrintingAndIdleAgain) {
    start();
    printTestPage();
    EXPECT_TRUE(messageArrives(L"Printer state", L"Printing"));
    EXPECT_TRUE(messageArrives(L"Printer state", L"Idle"));
}

TEST_F(StatusWindow, ProgressGrowsStepByStep) {
    start(R"(, "entryPoints": { "OrxWritePrinter": { "delayMs": 60 } })");
    printTestPage();
    std::vector<long> seen;
    ASSERT_TRUE(eventually([&] {
        const long position = progressPosition();
        if (seen.empty() || position != seen.back()) {
            seen.push_back(position);
        }
        return position == 1000;
    }));
    EXPECT_TRUE(std::ranges::is_sorted(seen));
    EXPECT_GE(seen.size(), 6u);
}

TEST_F(StatusWindow, WindowAnswersWhileTheServiceIsSlow) {
    start(R"(, "entryPoints": { "OrxWritePrinter": { "fromCall": 3, "delayMs": 5000 } })");
    printTestPage();
    ASSERT_TRUE(printingBegins());
    Sleep(500);
    EXPECT_TRUE(window_->answersWithin(2000));
    EXPECT_LT(progressPosition(), 1000);
}

TEST_F(StatusWindow, PartialWritesLoseAndRepeatNothing) {
    start(R"(, "entryPoints": { "OrxWritePrinter": { "fromCall": 34, "accept": 777 } })");
    printTestPage(); // 33 calls: these take what they are given
    ASSERT_TRUE(statusBecomes(L"The test page is printed."));
    printTestPage();
    ASSERT_TRUE(eventually([&] { return service_->documents().size() == 2; }));
    EXPECT_TRUE(service_->documents()[0] == service_->documents()[1]);
}

TEST_F(StatusWindow, FullBufferIsWaitedFor) {
    start(R"(, "entryPoints": { "OrxWritePrinter": { "call": 5, "code": 122 } })");
    printTestPage();
    EXPECT_TRUE(statusBecomes(L"The test page is printed."));
}

TEST_F(StatusWindow, BusyPrinterIsExplained) {
    start(R"(, "entryPoints": { "OrxStartJobPrinter": { "code": 170 } })");
    printTestPage();
    EXPECT_TRUE(statusBecomes(L"The test page was not printed: the printer is busy."));
}

TEST_F(StatusWindow, UnreachablePrinterIsExplained) {
    start();
    window_->select(printerList(), parallelPrinter);
    printTestPage();
    EXPECT_TRUE(statusBecomes(L"The test page was not printed: the printer cannot be reached."));
}

TEST_F(StatusWindow, FailedWriteCancelsTheJob) {
    start(R"(, "entryPoints": { "OrxWritePrinter": { "fromCall": 3, "code": 1168 } })");
    printTestPage();
    ASSERT_TRUE(statusBecomes(L"The test page was not printed: the printer cannot be reached."));
    EXPECT_EQ(service_->calls("OrxCancelJobPrinter"), 1u);
    EXPECT_THAT(service_->documents(), IsEmpty());
}

TEST_F(StatusWindow, CancelLeavesNothingInTheSpool) {
    start(R"(, "entryPoints": { "OrxWritePrinter": { "delayMs": 100 } })");
    printTestPage();
    ASSERT_TRUE(printingBegins());
    WindowDriver::click(window_->button(L"&Cancel"));
    ASSERT_TRUE(statusBecomes(L"The test page was cancelled."));
    EXPECT_THAT(service_->documents(), IsEmpty());
    EXPECT_EQ(service_->unfinishedJobs(), 0u);
}

TEST_F(StatusWindow, ButtonsFitWhatCanBeDone) {
    start(R"(, "entryPoints": { "OrxWritePrinter": { "delayMs": 100 } })");
    EXPECT_TRUE(isEnabled(L"Print &test page"));
    EXPECT_FALSE(isEnabled(L"&Cancel"));
    printTestPage();
    ASSERT_TRUE(printingBegins());
    EXPECT_FALSE(isEnabled(L"Print &test page"));
    EXPECT_TRUE(isEnabled(L"&Cancel"));
}

// ------------------------------------------------------------------------------------------------- opens and closes

TEST_F(StatusWindow, EverythingIsGivenBackAtTheEnd) {
    start();
    printTestPage();
    ASSERT_TRUE(statusBecomes(L"The test page is printed."));
    window_->close();
    ASSERT_EQ(program_->exitCode(), 0u);
    // Three reachable printers with two opens each and the job's; one refused open that needs no close.
    EXPECT_EQ(service_->calls("OrxOpenPrinter"), 3u * 2 + 1 + 1);
    EXPECT_EQ(service_->calls("OrxClosePrinter"), 3u * 2 + 1);
}

TEST_F(StatusWindow, AlertsAndNotificationsAreEndedAtTheEnd) {
    start();
    window_->close();
    ASSERT_EQ(program_->exitCode(), 0u);
    EXPECT_EQ(service_->calls("OrxUnregisterForAlertsPrinter"), 3u);
    EXPECT_EQ(service_->calls("OrxUnregisterForNotificationsPrinter"), 3u);
}

TEST_F(StatusWindow, OpenOfRefusedNotificationsIsClosed) {
    start(R"(, "entryPoints": { "OrxRegisterForNotificationsPrinter": { "code": 5 } })");
    window_->close();
    ASSERT_EQ(program_->exitCode(), 0u);
    EXPECT_EQ(service_->calls("OrxClosePrinter"), 3u * 2);
}

TEST_F(StatusWindow, RefreshReleasesBeforeItCapturesAgain) {
    start();
    WindowDriver::click(window_->button(L"&Refresh"));
    ASSERT_TRUE(eventually([&] { return service_->calls("OrxRegisterForAlertsPrinter") == 6; }));
    EXPECT_EQ(service_->calls("OrxClosePrinter"), 3u * 2);
}

TEST_F(StatusWindow, ClosingWithinAJobCancelsIt) {
    start(R"(, "entryPoints": { "OrxWritePrinter": { "delayMs": 100 } })");
    printTestPage();
    ASSERT_TRUE(printingBegins());
    window_->close();
    ASSERT_EQ(program_->exitCode(), 0u);
    EXPECT_EQ(service_->calls("OrxCancelJobPrinter"), 1u);
    EXPECT_THAT(service_->documents(), IsEmpty());
}

TEST_F(StatusWindow, AlertsBehindTheCloseAreNotFetchedWithoutARegistration) {
    start();
    const DWORD threadId = GetWindowThreadProcessId(window_->window(), nullptr);
    const HANDLE thread = OpenThread(THREAD_SUSPEND_RESUME, FALSE, threadId);
    ASSERT_NE(SuspendThread(thread), MAXDWORD);
    window_->close();
    for (int count = 0; count < 5000; ++count) { // they last longer than the service thread takes to unregister
        PostMessageW(window_->window(), WM_KAL_CPD_STATUSCHANGE, 0x6001, 0);
    }
    ResumeThread(thread);
    CloseHandle(thread);
    EXPECT_EQ(program_->exitCode(), 0u);
}

TEST_F(StatusWindow, ClosingUnderAStreamOfAlertsEndsCleanly) {
    start(R"(, "timeline": [{ "printer": "192.0.2.10", "from": "registration", "alert": "statusChange",
              "count": 20000, "intervalMs": 1 }])");
    ASSERT_TRUE(eventually([&] { return messageCount() > 0; }));
    window_->close();
    EXPECT_EQ(program_->exitCode(), 0u);
}

TEST_F(StatusWindow, HangingServiceDoesNotKeepTheClosedWindow) {
    start(R"(, "entryPoints": { "OrxWritePrinter": { "fromCall": 3, "delayMs": 120000 } })");
    printTestPage();
    ASSERT_TRUE(printingBegins());
    window_->close();
    ASSERT_TRUE(statusBecomes(L"Closing: waiting for the printer service. Close again to end at once."));
    EXPECT_EQ(program_->exitCode(), 2u);
}

TEST_F(StatusWindow, SecondCloseDoesNotWaitForTheService) {
    start(R"(, "entryPoints": { "OrxWritePrinter": { "fromCall": 3, "delayMs": 120000 } })");
    printTestPage();
    ASSERT_TRUE(printingBegins());
    window_->close();
    window_->close();
    EXPECT_EQ(program_->exitCode(3000), 2u);
}

TEST_F(StatusWindow, MessagesOfOtherProgramsDoNoHarm) {
    start();
    for (UINT message = WM_APP; message < WM_APP + 32; ++message) {
        PostMessageW(window_->window(), message, 0, 0);
        PostMessageW(window_->window(), message, 1, 0);
        PostMessageW(window_->window(), message, 0x6001, 0x1234);
    }
    for (const UINT message : {WM_KAL_DSA, WM_KAL_PRINTERSTATUS, WM_KAL_ENDOFJOB, WM_KAL_WARNINGSEX}) {
        PostMessageW(window_->window(), message, 0xFFFFFFFF, 0);
        PostMessageW(window_->window(), message, 0x12346001, 0x1234);
    }
    EXPECT_TRUE(window_->answersWithin(10000));
    EXPECT_FALSE(program_->hasEnded());
    EXPECT_EQ(window_->rows(printerList()).size(), 4u);
    printTestPage();
    EXPECT_TRUE(statusBecomes(L"The test page is printed."));
}

// --------------------------------------------------------------------------------------------- keyboard and layout

TEST_F(StatusWindow, ListsAndProgressHaveNamesForAScreenReader) {
    start();
    EXPECT_EQ(WindowDriver::text(printerList()), L"Printers");
    EXPECT_EQ(WindowDriver::text(messageList()), L"Messages");
    EXPECT_EQ(WindowDriver::text(progress()), L"Progress of the test page");
}

TEST_F(StatusWindow, EnterPressesTheButtonThatHasTheFocus) {
    start();
    window_->press(VK_TAB);
    window_->press(VK_TAB);
    window_->press(VK_TAB);
    ASSERT_TRUE(eventually([&] { return window_->focus() == window_->button(L"&Refresh"); }));
    window_->press(VK_RETURN);
    EXPECT_TRUE(eventually([&] { return service_->calls("OrxRegisterForAlertsPrinter") == 6; }));
    EXPECT_EQ(service_->calls("OrxStartJobPrinter"), 0u);
}

TEST_F(StatusWindow, TabGoesThroughTheControlsInTheirOrder) {
    start();
    ASSERT_TRUE(eventually([&] { return window_->focus() == printerList(); }));
    for (const HWND next :
         {messageList(), window_->button(L"Print &test page"), window_->button(L"&Refresh"), printerList()}) {
        window_->press(VK_TAB);
        EXPECT_TRUE(eventually([&] { return window_->focus() == next; }, 5000)) << WindowDriver::text(next).c_str();
    }
}

TEST_F(StatusWindow, UnderlinedLetterOfALabelLeadsToItsList) {
    start();
    window_->pressAlt(L'm');
    EXPECT_TRUE(eventually([&] { return window_->focus() == messageList(); }, 5000));
}

TEST_F(StatusWindow, UnderlinedLetterOfAButtonPressesIt) {
    start();
    window_->pressAlt(L't');
    EXPECT_TRUE(statusBecomes(L"The test page is printed."));
}

TEST_F(StatusWindow, ArrowKeySelectsTheNextPrinter) {
    start();
    ASSERT_TRUE(eventually([&] { return window_->focus() == printerList(); }));
    window_->press(VK_DOWN);
    EXPECT_TRUE(eventually([&] { return window_->control(L"Static", L"HBN3_0002B3C4D5E6: Idle") != nullptr; }));
}

TEST_F(StatusWindow, EnterPrints) {
    start();
    window_->press(VK_RETURN);
    EXPECT_TRUE(statusBecomes(L"The test page is printed."));
}

TEST_F(StatusWindow, EscapeCancels) {
    start(R"(, "entryPoints": { "OrxWritePrinter": { "delayMs": 100 } })");
    printTestPage();
    ASSERT_TRUE(printingBegins());
    window_->press(VK_ESCAPE);
    EXPECT_TRUE(statusBecomes(L"The test page was cancelled."));
}

TEST_F(StatusWindow, FunctionKeyRefreshes) {
    start();
    window_->press(VK_F5);
    EXPECT_TRUE(eventually([&] { return service_->calls("OrxRegisterForAlertsPrinter") == 6; }));
}

TEST_F(StatusWindow, FocusMovesOnFromAButtonThatGoesGrey) {
    start(R"(, "entryPoints": { "OrxWritePrinter": { "delayMs": 100 } })");
    window_->press(VK_TAB);
    window_->press(VK_TAB);
    ASSERT_TRUE(eventually([&] { return window_->focus() == window_->button(L"Print &test page"); }));
    window_->press(VK_SPACE);
    EXPECT_TRUE(eventually([&] { return window_->focus() == window_->button(L"&Cancel"); }));
}

TEST_F(StatusWindow, ControlsFillTheWindowAtEverySize) {
    start();
    for (const SIZE size : {SIZE{560, 420}, SIZE{780, 560}, SIZE{960, 640}}) {
        window_->resize(size.cx, size.cy);
        const RECT client = window_->clientArea();
        const RECT statusBar = window_->place(window_->control(STATUSCLASSNAMEW));
        EXPECT_EQ(statusBar.bottom, client.bottom);
        EXPECT_EQ(window_->place(printerList()).right, client.right - 12);
        EXPECT_EQ(window_->place(messageList()).right, client.right - 12);
        EXPECT_EQ(window_->place(window_->button(L"&Refresh")).right, client.right - 12);
        EXPECT_EQ(window_->place(window_->button(L"&Refresh")).bottom, statusBar.top - 12);
    }
}

TEST_F(StatusWindow, NoControlCoversAnother) {
    start();
    for (const SIZE size : {SIZE{560, 420}, SIZE{960, 640}}) {
        window_->resize(size.cx, size.cy);
        std::vector<RECT> places;
        for (HWND child = GetWindow(window_->window(), GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
            const RECT place = window_->place(child);
            EXPECT_LT(place.left, place.right) << WindowDriver::text(child).c_str();
            for (const RECT &other : places) {
                RECT common;
                EXPECT_FALSE(IntersectRect(&common, &place, &other)) << "at " << common.left << ", " << common.top;
            }
            places.push_back(place);
        }
    }
}

TEST_F(StatusWindow, WindowDoesNotBecomeSmallerThanItsControlsNeed) {
    start();
    window_->resize(100, 100);
    RECT place;
    GetWindowRect(window_->window(), &place);
    EXPECT_EQ(place.right - place.left, 560);
    EXPECT_EQ(place.bottom - place.top, 420);
}

TEST_F(StatusWindow, TwiceTheResolutionDoublesTheLayout) {
    start();
    const RECT before = window_->place(window_->button(L"&Refresh"));
    window_->changeResolution(192, {0, 0, 1560, 1120});
    const RECT after = window_->place(window_->button(L"&Refresh"));
    const double growth = double(after.right - after.left) / double(before.right - before.left);
    EXPECT_NEAR(growth, 2.0, 0.15);
    EXPECT_EQ(window_->place(printerList()).left, 24);
}

// -------------------------------------------------------------------------------------------------------- scroll bars

TEST_F(StatusWindow, NoListHasAHorizontalScrollBar) {
    startWithTwoHundredPrinters();
    for (const LONG width : {560, 640, 780, 1000}) {
        window_->resize(width, 500);
        for (const HWND list : {printerList(), messageList()}) {
            EXPECT_EQ(GetWindowLongW(list, GWL_STYLE) & WS_HSCROLL, 0) << width;
        }
    }
    EXPECT_NE(GetWindowLongW(printerList(), GWL_STYLE) & WS_VSCROLL, 0);
}

TEST_F(StatusWindow, ManyMessagesBringNoHorizontalScrollBar) {
    start(R"(, "timeline": [{ "printer": "192.0.2.10", "from": "registration", "alert": "tonerLow", "count": 50 }])");
    ASSERT_TRUE(eventually([&] { return messageCount() == 50; }));
    ASSERT_NE(GetWindowLongW(messageList(), GWL_STYLE) & WS_VSCROLL, 0);
    EXPECT_EQ(GetWindowLongW(messageList(), GWL_STYLE) & WS_HSCROLL, 0);
}

// ----------------------------------------------------------------------------------------------------------- pictures

class StatusWindowPicture : public StatusWindow, public testing::WithParamInterface<UINT> {
  protected:
    void SetUp() override {
        if (pictureRequest().empty()) {
            GTEST_SKIP() << "no script takes the pictures";
        }
    }

    /// Resizes the window, and then has it draw itself from the start: the picture must not change.
    void expectNothingToRepaint(int width, int height, const std::string &name) {
        window_->resize(width, height);
        ASSERT_TRUE(window_->answersWithin(20000));
        const std::string resized = picture(name);
        window_->repaint();
        ASSERT_TRUE(window_->answersWithin(20000));
        const std::string repainted = picture(name + "-repainted");
        ASSERT_GT(resized.size(), 1000000u);
        EXPECT_TRUE(resized == repainted) << name;
    }
};

TEST_P(StatusWindowPicture, IsCompleteAfterEveryResize) {
    startWithTwoHundredPrinters();
    window_->changeResolution(GetParam(), {0, 0, 850, 640});
    const std::string name = std::to_string(GetParam()) + "dpi-";
    const int least = static_cast<int>(560 * GetParam() / 96);
    expectNothingToRepaint(least, 650, name + "narrow");
    expectNothingToRepaint(1000, 690, name + "wide");
    expectNothingToRepaint(least, static_cast<int>(420 * GetParam() / 96), name + "small");
}

INSTANTIATE_TEST_SUITE_P(EveryResolution, StatusWindowPicture, testing::Values(96u, 144u),
                         [](const auto &each) { return std::to_string(each.param); });

TEST_F(StatusWindow, StatesAreShownInTheirColours) {
    if (pictureRequest().empty()) {
        GTEST_SKIP() << "no script takes the picture";
    }
    start(R"(, "timeline": [{ "printer": "USB001", "from": "registration", "afterMs": 500,
              "notification": "printingAndError" }])");
    ASSERT_TRUE(eventually([&] { return window_->rows(printerList())[usbPrinter][4] == L"Error"; }));
    const std::string screen = picture("states");
    EXPECT_NE(screen.find("\x10\x7C\x10"), std::string::npos) << "green for idle";
    EXPECT_NE(screen.find("\x1C\x2B\xC4"), std::string::npos) << "red for an error";
}

/// The picture of the documents, taken during a job.
TEST_F(StatusWindow, PictureOfAJobIsTaken) {
    if (pictureRequest().empty()) {
        GTEST_SKIP() << "no script takes the picture";
    }
    start(R"(, "entryPoints": { "OrxWritePrinter": [ { "call": 24, "delayMs": 20000 }, { "delayMs": 30 } ] },
             "timeline": [
               { "printer": "USB001", "from": "registration", "afterMs": 100, "alert": "configurationChange" },
               { "printer": "USB001", "from": "registration", "afterMs": 1200, "alert": "tonerPrediction" },
               { "printer": "USB001", "from": "registration", "afterMs": 2300, "alert": "tonerLow" } ])");
    window_->select(printerList(), usbPrinter);
    ASSERT_TRUE(eventually([&] { return messages().size() == 3; }));
    window_->press(VK_RETURN); // the focus stays in the list: its selection is seen
    ASSERT_TRUE(eventually([&] { return progressPosition() > 650; }));
    ASSERT_TRUE(messageArrives(L"Printer state", L"Printing"));
    EXPECT_FALSE(picture("").empty());
}

} // namespace
