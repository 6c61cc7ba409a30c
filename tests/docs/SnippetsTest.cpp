// The reference's examples at work, against virtual printers.
#include "examples/snippets/snippets.h"
#include "tests/examples/ProgramUnderTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>

namespace kal::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr uint16_t usbPrinter = 3;
constexpr uint16_t unknownPrinter = 77;

class Snippets : public testing::Test {
  protected:
    /// @param misbehaviour  entry points that do not do their work
    void serve(const std::string &misbehaviour = "", const std::string &timeline = "") {
        service_ = std::make_unique<VirtualPrinters>(R"({ "printers": [ { "handle": 3, "transport": "USB1",
            "port": "USB001", "device": "BpdPrinter", "cache": { "head": true, "text": "MODEL:a;" },
            "bidi": [ { "request": "A5 00 03 50 04", "answerText": "ready" } ] } ],
            "entryPoints": {)" + misbehaviour + R"(}, "timeline": [)" +
                                                     timeline + "] }");
    }
    void registerApplication(const std::string &misbehaviour = "", const std::string &timeline = "") {
        serve(misbehaviour, timeline);
        ASSERT_EQ(KalRegisterWithRpcServer(nullptr), 1);
        isRegistered_ = true;
    }
    void openPrinter(const std::string &misbehaviour = "") {
        registerApplication(misbehaviour);
        ASSERT_EQ(open_patiently(usbPrinter), KAL_OKAY);
    }
    void TearDown() override {
        if (isRegistered_)
            KalUnregisterApp(0);
    }

    std::unique_ptr<VirtualPrinters> service_;
    bool isRegistered_ = false;
};

int32_t openAndClose() {
    const int32_t result = KalOpen(0, usbPrinter, 0);
    KalClose(0, usbPrinter);
    return result;
}

TEST_F(Snippets, WorkIsDoneWithinARegistration) {
    serve();
    EXPECT_EQ(work_on_this_machine(openAndClose), KAL_OKAY);
    EXPECT_EQ(work_with_server(nullptr, openAndClose), KAL_OKAY);
    EXPECT_ANY_THROW(openAndClose());
}

TEST_F(Snippets, LeavingReleasesAndUnregisters) {
    serve();
    name_the_client();
    ASSERT_EQ(start_of_an_older_program(), 1);
    ASSERT_EQ(hear_of_alerts(usbPrinter, nullptr), KAL_OKAY);
    leave(&usbPrinter, 1);
    EXPECT_ANY_THROW(openAndClose());
    ASSERT_EQ(start_of_an_older_program(), 1);
    EXPECT_EQ(end_of_an_older_program(), 1);
}

TEST_F(Snippets, BusyPrinterIsWaitedFor) {
    registerApplication(R"("OrxOpenPrinter": { "call": 1, "code": 170 })");
    EXPECT_EQ(open_patiently(usbPrinter), KAL_OKAY);
}

TEST_F(Snippets, EveryOpenIsGivenBack) {
    openPrinter();
    ASSERT_EQ(open_patiently(usbPrinter), KAL_OKAY);
    close_wholly(usbPrinter);
    EXPECT_EQ(KalClose(0, usbPrinter), DEVERR_INVHANDLE);
}

TEST_F(Snippets, LetterIsPrintedAlsoWhenItIsTakenInPieces) {
    openPrinter(R"("OrxWritePrinter": { "accept": 5 })");
    EXPECT_EQ(print_text(usbPrinter, "Dear Sir or Madam", 17), KAL_OKAY);
    EXPECT_THAT(service_->documents(), ElementsAre("Dear Sir or Madam"));
}

TEST_F(Snippets, LetterThatFailsIsNotPrinted) {
    openPrinter(R"("OrxWritePrinter": { "code": 1168 })");
    EXPECT_EQ(print_text(usbPrinter, "Dear Sir or Madam", 17), DEVERR_CONNECT);
    EXPECT_THAT(service_->documents(), IsEmpty());
    EXPECT_EQ(service_->unfinishedJobs(), 0u);
}

TEST_F(Snippets, FullBufferIsOfferedTheBytesAgain) {
    openPrinter(R"("OrxWritePrinter": { "call": 1, "code": 122 })");
    ASSERT_EQ(start_named_job(usbPrinter, "user"), KAL_OKAY);
    uint32_t size = 4;
    EXPECT_EQ(send_some(usbPrinter, "text", &size), KAL_OKAY);
    EXPECT_EQ(size, 4u);
    EXPECT_EQ(send_as_older_programs_do(usbPrinter, "more", 4), KAL_OKAY);
    EXPECT_EQ(finish_writing(usbPrinter), KAL_OKAY);
    EXPECT_THAT(service_->documents(), ElementsAre("textmore"));
}

TEST_F(Snippets, EndThatFailsBecomesACancel) {
    openPrinter(R"("OrxEndJobPrinter": { "code": 170 })");
    ASSERT_EQ(KalStartDoc(usbPrinter, KAL_PORT_TYPE_ANY, nullptr), KAL_OKAY);
    EXPECT_EQ(end_or_cancel(usbPrinter), KAL_PRNBUSY);
    EXPECT_EQ(service_->unfinishedJobs(), 0u);
}

TEST_F(Snippets, GivingUpLeavesNoJobAndNoOpen) {
    openPrinter();
    ASSERT_EQ(KalStartDoc(usbPrinter, KAL_PORT_TYPE_ANY, nullptr), KAL_OKAY);
    give_up(usbPrinter, KAL_PORT_TYPE_ANY);
    EXPECT_EQ(service_->unfinishedJobs(), 0u);
    EXPECT_EQ(KalClose(0, usbPrinter), DEVERR_INVHANDLE);
}

TEST_F(Snippets, JobModesAreTaken) {
    openPrinter();
    wait_longer_for_the_end(usbPrinter);
    ASSERT_EQ(start_named_job(usbPrinter, "user"), KAL_OKAY);
    EXPECT_EQ(cancel_one_job(usbPrinter, 1), KAL_OKAY);
    EXPECT_EQ(cancel_one_job(usbPrinter, 0), KAL_FAIL);
    EXPECT_EQ(service_->unfinishedJobs(), 0u);
}

TEST_F(Snippets, NotificationsAreStartedAndStopped) {
    registerApplication();
    ASSERT_EQ(hear_of_jobs(usbPrinter), KAL_OKAY);
    hear_no_more_of_jobs(usbPrinter);
    EXPECT_EQ(KalClose(0, usbPrinter), DEVERR_INVHANDLE);
}

TEST_F(Snippets, PrintersAreFound) {
    registerApplication();
    EXPECT_EQ(first_usb_printer(), usbPrinter);
    EXPECT_EQ(printer_at("USB001"), usbPrinter);
    EXPECT_EQ(printer_at("USB002"), 0);
    EXPECT_EQ(printer_at("\\\\host\\queue"), 0);
    EXPECT_EQ(look_for_printers(), KAL_OKAY);
}

TEST_F(Snippets, CachedBlockComesWithoutItsHead) {
    registerApplication();
    uint8_t block[64];
    const uint32_t length = cached_block(usbPrinter, block, sizeof block);
    EXPECT_EQ(std::string(block, block + length), "MODEL:a;");
    EXPECT_EQ(cached_block(unknownPrinter, block, sizeof block), 0u);
}

TEST_F(Snippets, AlertIsFetchedWithItsMessage) {
    registerApplication("", R"({ "printer": 3, "from": "registration", "afterMs": 200, "alert": "warning" })");
    const HWND window = CreateWindowExA(0, "STATIC", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    ASSERT_EQ(hear_of_alerts(usbPrinter, window), KAL_OKAY);
    MSG message = {};
    const ULONGLONG begin = GetTickCount64();
    while (message.message != WM_KAL_WARNINGSEX && GetTickCount64() - begin < 30000)
        if (!PeekMessageA(&message, window, WM_USER, 0x7FFF, PM_REMOVE))
            Sleep(10);
    ASSERT_EQ(message.message, UINT{WM_KAL_WARNINGSEX});
    uint8_t alert[256];
    EXPECT_GT(take_message(message.message, message.wParam, alert, sizeof alert), 0);
    EXPECT_EQ(take_message(message.message, MAKEWPARAM(usbPrinter, 999), alert, sizeof alert), 0);
    EXPECT_EQ(take_message(WM_KAL_PRINTERSTATUS, message.wParam, alert, sizeof alert), 0);
    hear_no_more(usbPrinter);
    EXPECT_EQ(KalClose(0, usbPrinter), DEVERR_INVHANDLE);
    DestroyWindow(window);
}

TEST_F(Snippets, StateIsToldOrUnknown) {
    registerApplication();
    EXPECT_EQ(is_printing(usbPrinter), 0);
    EXPECT_EQ(is_printing(unknownPrinter), -1);
    EXPECT_EQ(is_reachable(usbPrinter), 1);
    EXPECT_EQ(is_reachable(unknownPrinter), 0);
}

TEST_F(Snippets, BusyBidiIsAskedAgain) {
    registerApplication(R"("OrxExchangeBidiPrinter": { "call": 1, "code": 1 })");
    uint8_t response[64];
    uint32_t size = sizeof response;
    EXPECT_EQ(ask_stored_request(usbPrinter, 2, response, &size), KAL_OKAY);
    EXPECT_EQ(std::string(response, response + size), "ready");
    size = 1;
    EXPECT_EQ(ask_stored_request(usbPrinter, 2, response, &size), KAL_MOREDATA);
}

TEST_F(Snippets, OlderCallsHaveTheirAnswers) {
    openPrinter();
    EXPECT_EQ(prepare_removal(), KAL_OKAY);
    EXPECT_EQ(has_server(), 1);
    EXPECT_EQ(close_by_the_old_name(usbPrinter), KAL_OKAY);
}

} // namespace
} // namespace kal::test
