// What the library shares among threads without a lock, on purpose, at work in several threads at once: were one of
// these no atomic, the thread sanitizer would have to report it here.

#include "api/kal.h"
#include "tests/support/ImportHook.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/RecordedService.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

using namespace kal::test;

namespace {

constexpr uint16_t printer = 5;

void ignore(const PortInfoRecord *) {}

/// Runs the work on four threads at once, with the number of each.
void atOnce(const std::function<void(int)> &work) {
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number)
        threads.emplace_back(work, number);
    for (std::thread &thread : threads)
        thread.join();
}

class SharedData : public testing::Test {
  protected:
    SharedData() { KalRegisterApp(0); }
    ~SharedData() override { KalUnregisterApp(0); }

    /// Keeps comc.dll loaded, which else would be loaded for each call and hold the threads up.
    void openPrinter() { ASSERT_EQ(KalOpen(0, printer, 0), KAL_OKAY); }

    PrivateMachine machine;
    RecordedService service;
};

} // namespace

TEST_F(SharedData, ByteCounterIsCountedAndReset) {
    openPrinter();
    atOnce([](int number) {
        for (int round = 0; round < 500; ++round) {
            uint32_t count = 3;
            EXPECT_LE(KalWrite(0, printer, 0, "abc", &count), KAL_FAIL);
            if (number == 0)
                KalStartDoc(printer, 0, "Letter");
        }
    });
}

TEST_F(SharedData, EnumerationCallbackIsThatOfTheLatestEnumeration) {
    openPrinter();
    service.stringProperty("Transport", "USB1");
    service.stringProperty("Portname", "PORT1");
    service.stringProperty("Device", "CpdPrinter");
    service.does("OrxEnumPrinters", [](const ServiceCall &call) {
        call.callback<uint32_t(uint32_t)>(3)(printer);
        return 0u;
    });
    atOnce([](int number) {
        for (int round = 0; round < 200; ++round)
            EXPECT_EQ(KalEnumPrinters(0, NETTYPEUSB, number % 2 == 0 ? ignore : nullptr), KAL_OKAY);
    });
}

TEST_F(SharedData, SettingsAreCachedForAllThreads) {
    for (int round = 0; round < 20; ++round) {
        // A new registration has a new cache, which is empty as long as nothing is logged.
        KalUnregisterApp(0);
        machine.removeKey();
        KalRegisterApp(0);
        machine.logEverything();
        // Settings grow stale quickly.
        std::atomic<DWORD> tick = 1000;
        const ImportHook<"GetTickCount", DWORD()> clock(GetModuleHandleA("kalclient.dll"),
                                                        [&] { return tick += 1000; });
        atOnce([](int) {
            for (int call = 0; call < 5; ++call)
                KalReleaseAlerts(0, printer);
        });
    }
}

TEST_F(SharedData, AlertIdIsTakenAndTold) {
    openPrinter();
    service.stringProperty("Device", "CpdPrinter");
    const uint32_t mask = 0xFFFF;
    ASSERT_EQ(KalCaptureAlerts(0, printer, &mask, reinterpret_cast<void *>(0x54321)), KAL_OKAY);
    auto *const onAlert =
        service.lastCall("OrxRegisterForAlertsPrinter").callback<uint32_t(uint32_t, const uint8_t *, uint32_t)>(3);
    atOnce([onAlert](int number) {
        const uint8_t powerOnReset[12] = {0xA5, 0, 0, 0, 0xFF, 1};
        for (int round = 0; round < 300; ++round) {
            uint8_t bytes[12];
            uint16_t size = sizeof bytes;
            if (number % 2 == 0)
                onAlert(printer, powerOnReset, sizeof powerOnReset);
            else
                KalQueryAlerts(0, static_cast<uint16_t>(round), 0, 0, bytes, &size);
        }
    });
    uint16_t size = 0;
    EXPECT_EQ(KalQueryAlerts(0, 0, 0, 0, nullptr, &size), 7); // the first alert without its head
    EXPECT_EQ(KalReleaseAlerts(0, printer), KAL_OKAY);
}
