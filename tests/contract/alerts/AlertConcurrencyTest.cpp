#include "tests/contract/alerts/AlertFixture.h"
#include "tests/support/EveryCore.h"

#include <atomic>
#include <cstring>
#include <map>
#include <set>
#include <thread>

namespace kal::test {
namespace {

using testing::AnyOf;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// Tens of thousands of alerts are only affordable with the log off.
class QuietAlertTest : public AlertTest {
  protected:
    QuietAlertTest() : AlertTest(Log::errorsOnly) { captureForWindow(); }

    /// An alert whose stored bytes hold a number.
    static AlertBytes numberedAlert(uint32_t number) {
        AlertBytes alert = powerOnReset(12);
        for (size_t index = 0; index < 4; ++index)
            alert[8 + index] = static_cast<uint8_t>(number >> 8 * index);
        return alert;
    }
    uint32_t storedNumber(uint16_t alertId) {
        uint8_t bytes[7];
        uint16_t size = sizeof bytes;
        if (query(alertId, bytes, &size) != KAL_OKAY || size != sizeof bytes)
            return UINT32_MAX;
        uint32_t number = 0;
        for (size_t index = 0; index < 4; ++index)
            number |= static_cast<uint32_t>(bytes[3 + index]) << 8 * index;
        return number;
    }
    /// Runs the step on a thread of its own and waits for it, as a service may do before it returns.
    static void onAnotherThread(const std::function<void()> &step) { std::thread(step).join(); }
};

TEST_F(QuietAlertTest, Ids65537AlertsInARow) {
    for (uint32_t number = 0; number < 65537; ++number) {
        const AlertBytes alert = numberedAlert(number);
        ASSERT_EQ(onAlert(0xFFFF, alert.data(), 12), 0u);
        if (number % 4096 == 0)
            service.forgetCalls();
    }
    const auto messages = posted();
    ASSERT_THAT(messages, SizeIs(65537));
    for (uint32_t number = 0; number < 65537; ++number)
        ASSERT_EQ(messages[number], (Posted{window, 0x5F4, (number & 0xFFFFull) << 16 | 0xFFFF, 0})) << number;
    EXPECT_EQ(storedNumber(0), 65536u);
    for (uint32_t id = 1; id <= 0xFFFF; ++id)
        ASSERT_EQ(storedNumber(static_cast<uint16_t>(id)), id);
}

TEST_F(QuietAlertTest, RealWindowReceivesEveryMessageInOrder) {
    postsForReal = true;
    const HWND real = CreateWindowExA(0, "Static", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    ASSERT_NE(real, nullptr);
    ASSERT_EQ(capture(6, real), KAL_OKAY);
    std::thread printer([this] {
        for (uint32_t number = 0; number < 2000; ++number) {
            const AlertBytes alert = numberedAlert(number);
            onAlert(7, alert.data(), 12);
        }
        notify(3);
    });
    std::vector<WPARAM> received;
    MSG message;
    while (GetMessageA(&message, real, WM_USER, 0xFFFF) > 0 && message.message == 0x5F4)
        received.push_back(message.wParam);
    printer.join();
    EXPECT_EQ(message.message, 0x63Cu);
    ASSERT_THAT(received, SizeIs(2000));
    for (uint32_t number = 0; number < 2000; ++number)
        EXPECT_EQ(received[number], static_cast<WPARAM>(number) << 16 | 7);
    DestroyWindow(real);
}

TEST_F(QuietAlertTest, AlertsFromSeveralThreadsKeepIdsAndBytesTogether) {
    const EveryCore everyCore;
    constexpr uint32_t threadCount = 4;
    constexpr uint32_t alertCount = 1500;
    std::vector<std::thread> threads;
    for (uint32_t thread = 0; thread < threadCount; ++thread)
        threads.emplace_back([this, thread] {
            for (uint32_t number = 0; number < alertCount; ++number) {
                const AlertBytes alert = numberedAlert(thread << 16 | number);
                onAlert(thread, alert.data(), 12);
            }
        });
    for (std::thread &thread : threads)
        thread.join();

    std::set<uint16_t> ids;
    std::map<uint16_t, uint32_t> nextNumber;
    for (const Posted &message : posted()) {
        ids.insert(message.high());
        // Each thread's alerts were posted in its order, and each message leads to its own bytes.
        EXPECT_EQ(storedNumber(message.high()),
                  static_cast<uint32_t>(message.handle()) << 16 | nextNumber[message.handle()]++);
    }
    EXPECT_THAT(ids, SizeIs(threadCount * alertCount));
    EXPECT_EQ(*ids.rbegin(), threadCount * alertCount - 1);
}

TEST_F(QuietAlertTest, CapturesAndReleasesFromSeveralThreadsAreCounted) {
    const EveryCore everyCore;
    std::vector<std::thread> threads;
    for (uint16_t thread = 0; thread < 4; ++thread)
        threads.emplace_back([this] {
            for (int round = 0; round < 200; ++round)
                EXPECT_EQ(capture(9, window), KAL_OKAY);
        });
    for (std::thread &thread : threads)
        thread.join();
    for (int round = 0; round < 800; ++round)
        ASSERT_EQ(release(9), KAL_OKAY) << round;
    EXPECT_EQ(release(9), DEVERR_INVHANDLE);
}

// ------------------------------------------------------------------------- no lock while the service is called

TEST_F(QuietAlertTest, AlertMayArriveWhileAnyStepOfCaptureAndReleaseIsWithTheService) {
    int arrived = 0;
    const auto arrive = [&](const ServiceCall &) {
        onAnotherThread([&] {
            const AlertBytes alert = powerOnReset(12);
            EXPECT_EQ(onAlert(5, alert.data(), 12), 0u);
            EXPECT_EQ(notify(1), 0u);
            ++arrived;
        });
        return 0u;
    };
    for (const char *operation : {"OrxOpenPrinter", "OrxRegisterForAlertsPrinter", "OrxUnregisterForAlertsPrinter",
                                  "OrxUnregisterForNotificationsPrinter", "OrxClosePrinter"})
        service.does(operation, arrive);
    EXPECT_EQ(capture(6, window), KAL_OKAY);
    EXPECT_EQ(capture(6, window), KAL_OKAY);
    EXPECT_EQ(release(6), KAL_OKAY);
    EXPECT_EQ(arrived, 8);
}

TEST_F(QuietAlertTest, AnotherThreadMayCaptureAndReleaseWhileOneIsWithTheService) {
    int nested = 0;
    service.does("OrxUnregisterForAlertsPrinter", [&](const ServiceCall &) {
        if (nested++ == 0)
            onAnotherThread([&] {
                EXPECT_EQ(capture(8, window), KAL_OKAY);
                EXPECT_EQ(release(8), KAL_OKAY);
            });
        return 0u;
    });
    EXPECT_EQ(release(5), KAL_OKAY);
    EXPECT_EQ(nested, 2);
}

TEST_F(QuietAlertTest, AlertMayArriveAndBeFetchedWhileAnotherIsPosted) {
    // The window's thread reacts to the message while the posting call has not returned yet.
    int posts = 0;
    whilePosting = [&] {
        if (posts++ == 0)
            onAnotherThread([&] {
                const AlertBytes alert = numberedAlert(2);
                EXPECT_EQ(onAlert(5, alert.data(), 12), 0u);
                EXPECT_EQ(storedNumber(0), 1u);
                EXPECT_EQ(capture(8, window), KAL_OKAY);
                EXPECT_EQ(release(8), KAL_OKAY);
            });
    };
    const AlertBytes alert = numberedAlert(1);
    EXPECT_EQ(onAlert(5, alert.data(), 12), 0u);
    EXPECT_EQ(storedNumber(1), 2u);
}

TEST_F(QuietAlertTest, AlertMayArriveWhileTheDeviceKindOfAnotherIsRead) {
    int reads = 0;
    service.does("OrxGetStringPrinter", [&](const ServiceCall &call) {
        if (reads++ == 0)
            onAnotherThread([&] {
                const AlertBytes alert = numberedAlert(1);
                EXPECT_EQ(onAlert(5, alert.data(), 12), 0u);
                EXPECT_EQ(storedNumber(0), 1u);
            });
        std::strcpy(call.pointer<char>(3), "CpdPrinter");
        return 0u;
    });
    const AlertBytes alert = numberedAlert(2);
    EXPECT_EQ(onAlert(5, alert.data(), 12), 0u);
    EXPECT_EQ(storedNumber(1), 2u);
}

// ----------------------------------------------------------------------------------------- release and the end

TEST_F(QuietAlertTest, CallbacksDuringReleaseAndUnregistrationDoNoHarm) {
    const EveryCore everyCore;
    std::atomic<bool> isOver = false;
    std::atomic<int> wrongAnswers = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 3; ++thread)
        threads.emplace_back([&, thread] {
            const AlertBytes alert = thread == 0 ? cpdStatus(24) : powerOnReset(24);
            while (!isOver) {
                if (onAlert(5, alert.data(), 24) > 1)
                    ++wrongAnswers;
                if (onNotification(5, 1, 8, nullptr, nullptr, nullptr) > 1)
                    ++wrongAnswers;
            }
        });
    for (int round = 0; round < 60; ++round) {
        release(5);
        unregisterApp();
        registerApp();
        ASSERT_EQ(capture(5, window), KAL_OKAY);
        service.forgetCalls();
    }
    isOver = true;
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(wrongAnswers, 0);
}

TEST_F(QuietAlertTest, CallbacksAfterTheLastUnregistrationAnswerOneOnEveryThread) {
    const EveryCore everyCore;
    unregisterApp();
    std::atomic<int> ones = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&] {
            const AlertBytes alert = powerOnReset(12);
            for (int round = 0; round < 250; ++round)
                ones += static_cast<int>(onAlert(5, alert.data(), 12)) +
                        static_cast<int>(onNotification(5, 1, 1, nullptr, nullptr, nullptr));
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(ones, 2000);
    EXPECT_THAT(posted(), IsEmpty());
    registerApp();
}

TEST_F(QuietAlertTest, LastAlertWhileTheServiceIsBeingUnloadedDoesNotBlock) {
    uint32_t alertAnswer = 7;
    uint32_t notificationAnswer = 7;
    service.does("OrxUninitialize", [&](const ServiceCall &) {
        onAnotherThread([&] {
            const AlertBytes alert = powerOnReset(12);
            alertAnswer = onAlert(5, alert.data(), 12);
            notificationAnswer = notify(1);
        });
        return 0u;
    });
    unregisterApp();
    EXPECT_EQ(alertAnswer, 1u);
    EXPECT_EQ(notificationAnswer, 1u);
    EXPECT_THAT(posted(), IsEmpty());
    service.answers("OrxUninitialize", 0);
    registerApp();
}

TEST_F(QuietAlertTest, UnregistrationWaitsForACallbackThatIsWithTheService) {
    std::atomic<bool> isInside = false;
    std::atomic<bool> isUnregistered = false;
    service.does("OrxGetStringPrinter", [&](const ServiceCall &call) {
        isInside = true;
        Sleep(200);
        EXPECT_FALSE(isUnregistered);
        std::strcpy(call.pointer<char>(3), "CpdPrinter");
        return 0u;
    });
    std::thread printer([&] {
        const AlertBytes alert = powerOnReset(12);
        EXPECT_EQ(onAlert(5, alert.data(), 12), 0u);
    });
    while (!isInside)
        Sleep(1);
    unregisterApp();
    isUnregistered = true;
    printer.join();
    service.stringProperty("Device", "CpdPrinter");
    registerApp();
}

} // namespace
} // namespace kal::test
