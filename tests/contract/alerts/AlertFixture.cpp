#include "tests/contract/alerts/AlertFixture.h"

#include <algorithm>
#include <cstdio>

namespace kal::test {

void PrintTo(const Posted &posted, std::ostream *stream) {
    *stream << std::hex << "message 0x" << posted.message << " wParam 0x" << posted.wParam << " lParam 0x"
            << posted.lParam << " to " << posted.window;
}

namespace {

AlertBytes alertOf(size_t length, std::initializer_list<uint8_t> pattern) {
    AlertBytes alert(std::max(length, 4 + pattern.size()), 0x44);
    alert[0] = 0xA5;
    for (size_t index = 5; index < alert.size(); ++index)
        alert[index] = static_cast<uint8_t>(index);
    std::copy(pattern.begin(), pattern.end(), alert.begin() + 4);
    alert.resize(length);
    return alert;
}

} // namespace

AlertBytes powerOnReset(size_t length) {
    return alertOf(length, {0xFF, 0x01, 0x00, 0x00});
}
AlertBytes cpdStatus(size_t length) {
    return alertOf(length, {0xF0, 0x73, 0x01, 0x01, 0x10, 0x01, 0x10, 0x00});
}
AlertBytes printResync(size_t length) {
    return alertOf(length, {0xF0, 0x73, 0x01, 0x01, 0x08, 0x01, 0x08, 0x00});
}
AlertBytes extendedAlert(uint8_t type, size_t length) {
    return alertOf(length, {0xF0, 0x73, 0x00, 0x00, 0x00, 0x00, type});
}
AlertBytes tonerPrediction(size_t length) {
    return alertOf(length, {0xF0, 0x03, 0x80, 0x01});
}

std::string hexadecimal(const AlertBytes &bytes) {
    std::string text;
    for (const uint8_t byte : bytes) {
        char digits[4];
        std::snprintf(digits, sizeof digits, "%s%02X", text.empty() ? "" : " ", byte);
        text += digits;
    }
    return text;
}

AlertTest::AlertTest(Log log)
    : postMessage(library.module(), [this](HWND target, UINT message, WPARAM wParam, LPARAM lParam) {
          if (whilePosting)
              whilePosting();
          if (postsForReal)
              return postMessage.original(target, message, wParam, lParam);
          const std::lock_guard guard(lock_);
          posted_.push_back({target, message, wParam, lParam});
          return TRUE;
      }) {
    if (log == Log::everything)
        machine.logEverything();
    service.stringProperty("Device", "CpdPrinter");
    service.stringProperty("Transport", "USB1");
    registerApp();
    forget();
}

AlertTest::~AlertTest() {
    unregisterApp();
}

void AlertTest::forget() {
    service.forgetCalls();
    machine.deleteLog();
    const std::lock_guard guard(lock_);
    posted_.clear();
}

int32_t AlertTest::capture(uint16_t handle, HWND target, uint32_t mask) {
    return library.function<decltype(KalCaptureAlerts)>("KalCaptureAlerts")(0, handle, &mask, target);
}

int32_t AlertTest::query(uint16_t alertId, void *buffer, uint16_t *size) {
    return library.function<decltype(KalQueryAlerts)>("KalQueryAlerts")(0, alertId, 0, 0, buffer, size);
}

void AlertTest::captureForWindow() {
    ASSERT_EQ(capture(5, window), KAL_OKAY);
    onAlert = alertCallback();
    ASSERT_EQ(controlMode(5, 2), KAL_OKAY);
    onNotification = notificationCallback();
    forget();
}

AlertTest::AlertCallback *AlertTest::alertCallback() const {
    return service.lastCall("OrxRegisterForAlertsPrinter").callback<AlertCallback>(3);
}

AlertTest::NotificationCallback *AlertTest::notificationCallback() const {
    return service.lastCall("OrxRegisterForNotificationsPrinter").callback<NotificationCallback>(3);
}

uint32_t AlertTest::deliver(const AlertBytes &alert, uint32_t handle) {
    GuardedBuffer bytes(std::max<size_t>(alert.size(), 12), 0);
    std::copy(alert.begin(), alert.end(), bytes.data());
    return onAlert(handle, bytes.data(), static_cast<uint32_t>(alert.size()));
}

uint32_t AlertTest::notify(uint32_t notification, const uint32_t *endOfJobFlag, uint32_t category, uint32_t handle) {
    return onNotification(handle, category, notification, endOfJobFlag, nullptr, nullptr);
}

AlertBytes AlertTest::stored(uint16_t alertId) {
    uint16_t size = 0;
    const int32_t needed = query(alertId, nullptr, &size);
    if (size == 0)
        return {};
    EXPECT_EQ(needed, size);
    GuardedBuffer buffer(size);
    EXPECT_EQ(query(alertId, buffer.data(), &size), KAL_OKAY);
    return {buffer.data(), buffer.data() + size};
}

std::vector<Posted> AlertTest::posted() const {
    const std::lock_guard guard(lock_);
    return posted_;
}

} // namespace kal::test
