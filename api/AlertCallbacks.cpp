#include "api/AlertCallbacks.h"

#include "api/AlertClassifier.h"
#include "api/CallFrame.h"
#include "api/CapturedAlerts.h"
#include "api/DeviceProperties.h"
#include "api/Notifications.h"
#include "api/kal.h"
#include "comc/Properties.h"
#include "service/OrxClient.h"

#include <windows.h>

#include <span>

namespace kal {

namespace {

constexpr WPARAM packParameter(uint32_t high, uint32_t handle) noexcept {
    return static_cast<uint32_t>(high << 16 | (handle & 0xFFFF));
}

/// Stores an alert without its header under a new id and posts the message to the window.
void storeAndPost(HWND window, uint32_t message, uint32_t handle, std::unique_ptr<Data> alert) {
    alert->skip(alertHeadSize, true);
    const uint16_t alertId = storeAlert(std::move(alert));
    PostMessageA(window, message, packParameter(alertId, handle), 0);
}

std::unique_ptr<Data> copyAlert(const uint8_t *alert, uint32_t length) {
    auto copy = std::make_unique<Data>();
    copy->append(alert, length);
    return copy;
}

uint32_t takeCpdAlert(HWND window, uint32_t handle, std::span<const uint8_t> bytes) {
    const CpdVerdict verdict = classifyCpdAlert(bytes);
    logTrace(verdict.text);
    if (verdict.kind == CpdAlert::invalid) {
        return ERROR_INVALID_PARAMETER;
    }
    if (verdict.message != 0) {
        storeAndPost(window, verdict.message, handle, copyAlert(bytes.data(), static_cast<uint32_t>(bytes.size())));
        logTrace("ERROR_SUCCESS");
    }
    return ERROR_SUCCESS;
}

uint32_t takeAlert(OrxClient &client, uint32_t handle, const uint8_t *alert, uint32_t length) {
    const auto window = alertWindowOf(client.clientId());
    if (!window) {
        logTrace("No clients want this alert.");
        return ERROR_SUCCESS;
    }
    char room[20];
    const TextProperty device = readTextProperty(client, handle, comc::property::device.descriptor, room, sizeof room);
    if (device.code != 0) {
        logTrace("KAL_FAIL");
        return ERROR_INVALID_FUNCTION;
    }
    if (device.text == comc::device::cpdPrinter) {
        return takeCpdAlert(*window, handle, {alert, length});
    }
    if (device.text == comc::device::bpdPrinter) {
        uint32_t message = 0;
        if (statusWindowAlert(alert, length, &message)) {
            storeAndPost(*window, message, handle, copyAlert(alert, length));
        }
        return ERROR_SUCCESS;
    }
    logTrace("not a valid cpd or bpd printer.");
    return ERROR_INVALID_FUNCTION;
}

void postEndOfJob(OrxClient &client, HWND window, uint32_t handle, const uint32_t *endOfJobFlag) {
    const uint32_t flag = endOfJobFlag == nullptr ? 1 : *endOfJobFlag;
    logTrace("teojFlag=", flag);
    const auto portType = static_cast<LPARAM>(queryPortType(client, handle));
    PostMessageA(window, WM_KAL_ENDOFJOB, packParameter(flag, handle), portType);
}

void takePrinterNotification(OrxClient &client, HWND window, uint32_t handle, uint32_t notification,
                             const uint32_t *endOfJobFlag) {
    if (notification == ORX_NOTIFICATION_TRUE_END_OF_JOB) {
        postEndOfJob(client, window, handle, endOfJobFlag);
        return;
    }
    const NotificationVerdict verdict = classifyNotification(notification);
    logTrace(verdict.text);
    if (verdict.state) {
        logTrace("Posting message to hwnd=", window);
        PostMessageA(window, WM_KAL_PRINTERSTATUS, packParameter(*verdict.state, handle), 0);
    }
}

void takeNotification(OrxClient &client, uint32_t handle, uint32_t category, uint32_t notification,
                      const uint32_t *endOfJobFlag) {
    const auto window = alertWindowOf(client.clientId());
    if (!window) {
        logTrace("0, No clients are registered for alerts, so we cannot send notifications.");
        return;
    }
    if (category == ORX_NOTIFICATION_CATEGORY_PRINTER) {
        takePrinterNotification(client, *window, handle, notification, endOfJobFlag);
    }
}

} // namespace

uint32_t KalAlertCallback(uint32_t handle, const uint8_t *alert, uint32_t length) noexcept {
    const uint32_t readable = alert == nullptr ? 0 : length;
    return callbackFrame([&](OrxClient *client) {
        if (client == nullptr) {
            return callbackWithoutBinding();
        }
        logTrace("KalAlertCallback() handle=", handle, ", Alert=", HexBytes{{alert, readable}});
        return takeAlert(*client, handle, alert, readable);
    });
}

uint32_t KalNotificationCallback(uint32_t handle, uint32_t category, uint32_t notification,
                                 const uint32_t *endOfJobFlag, void *, void *) noexcept {
    return callbackFrame([&](OrxClient *client) -> uint32_t {
        if (client == nullptr) {
            return callbackWithoutBinding();
        }
        logTrace("KalNotificationCallback() handle=", handle, " notification=", notification, " category=", category);
        takeNotification(*client, handle, category, notification, endOfJobFlag);
        return ERROR_SUCCESS;
    });
}

bool statusWindowAlert(const uint8_t *alert, uint32_t length, uint32_t *message) noexcept {
    logTrace("statusWindowAlert");
    const StatusWindowVerdict verdict = classifyStatusWindowAlert(alert, length);
    logTrace(verdict.text);
    const bool isPosted = verdict.message != 0;
    if (isPosted) {
        *message = verdict.message;
    }
    logTrace(isPosted ? "true" : "false");
    return isPosted;
}

} // namespace kal
