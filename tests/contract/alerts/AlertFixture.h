#pragma once

#include "api/kal.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/ImportHook.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/RecordedService.h"
#include "tests/support/StagedLibrary.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <mutex>
#include <ostream>
#include <string>
#include <vector>

namespace kal::test {

/// A window message as the library posted it.
struct Posted {
    HWND window;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;

    uint16_t handle() const { return static_cast<uint16_t>(wParam); }
    uint16_t high() const { return static_cast<uint16_t>(wParam >> 16); }
    bool operator==(const Posted &) const = default;
};

void PrintTo(const Posted &posted, std::ostream *stream);

using AlertBytes = std::vector<uint8_t>;

AlertBytes powerOnReset(size_t length = 8);
AlertBytes cpdStatus(size_t length = 24);
AlertBytes printResync(size_t length = 12);
AlertBytes extendedAlert(uint8_t type, size_t length = 12);
AlertBytes tonerPrediction(size_t length = 21);

/// "A5 00 FF"
std::string hexadecimal(const AlertBytes &bytes);

/// A registered application whose library was just loaded: no window, no capture, no alert yet.
class AlertTest : public testing::Test {
  protected:
    using AlertCallback = uint32_t(uint32_t handle, const uint8_t *alert, uint32_t length);
    using NotificationCallback = uint32_t(uint32_t handle, uint32_t category, uint32_t notification,
                                          const uint32_t *endOfJobFlag, void *, void *);
    using PostHook = ImportHook<"PostMessageA", BOOL(HWND, UINT, WPARAM, LPARAM)>;

    enum class Log { everything, errorsOnly };

    explicit AlertTest(Log log = Log::everything);
    ~AlertTest() override;

    void forget();

    // The exports of this test's library.
    int32_t capture(uint16_t handle, HWND window, uint32_t mask = 0xFFFF);
    int32_t release(uint16_t handle) {
        return library.function<decltype(KalReleaseAlerts)>("KalReleaseAlerts")(0, handle);
    }
    int32_t query(uint16_t alertId, void *buffer, uint16_t *size);
    int32_t controlMode(uint16_t handle, uint32_t mode) {
        return library.function<decltype(KalSetJobControlMode)>("KalSetJobControlMode")(0, handle, mode);
    }
    void registerApp() { library.function<decltype(KalRegisterApp)>("KalRegisterApp")(0); }
    void unregisterApp() { library.function<decltype(KalUnregisterApp)>("KalUnregisterApp")(0); }

    /// Captures handle 5 for the window and remembers the callbacks; forgets the calls and lines of it.
    void captureForWindow();
    /// The callback that the service was handed with the latest capture.
    AlertCallback *alertCallback() const;
    NotificationCallback *notificationCallback() const;

    /// What the service does when an alert arrives: at least 12 readable bytes, then an inaccessible page.
    uint32_t deliver(const AlertBytes &alert, uint32_t handle = 5);
    uint32_t notify(uint32_t notification, const uint32_t *endOfJobFlag = nullptr, uint32_t category = 1,
                    uint32_t handle = 5);

    /// An alert's stored bytes, fetched with a buffer that just fits.
    AlertBytes stored(uint16_t alertId);

    std::vector<Posted> posted() const;

    const HWND window = reinterpret_cast<HWND>(0x54321);

    RecordedService service;
    PrivateMachine machine;
    StagedLibrary library;
    AlertCallback *onAlert = nullptr;
    NotificationCallback *onNotification = nullptr;

  private:
    mutable std::mutex lock_; // posted_
    std::vector<Posted> posted_;

  protected:
    /// Lets messages reach real windows instead of being kept.
    bool postsForReal = false;
    /// Runs while the library is posting.
    std::function<void()> whilePosting;
    PostHook postMessage;
};

} // namespace kal::test
