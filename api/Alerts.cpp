#include "api/Alerts.h"

#include "api/AlertClassifier.h"
#include "api/AlertMask.h"
#include "api/AlertStore.h"
#include "api/CallFrame.h"
#include "api/DeviceProperties.h"
#include "api/kal.h"
#include "comc/Properties.h"
#include "platform/Mutex.h"
#include "service/OrxClient.h"

#include <windows.h>

#include <atomic>
#include <cstring>
#include <map>
#include <mutex>
#include <span>

namespace kal {

namespace {

/// The window per client identifier: that of the latest successful capture.
class AlertWindowMap {
  public:
    void set(int32_t clientId, HWND window) {
        const std::lock_guard guard(section_);
        windows_[clientId] = window;
    }

    [[nodiscard]] std::optional<HWND> find(int32_t clientId) {
        const std::lock_guard guard(section_);
        const auto position = windows_.find(clientId);
        return position == windows_.end() ? std::nullopt : std::optional(position->second);
    }

  private:
    CriticalSection section_; ///< guards windows_
    std::map<int32_t, HWND> windows_;
};

AlertWindowMap alertWindows;
AlertStore alertStore;
ProcessMutex alertIdLock; ///< held while nextAlertId is read and raised
std::atomic<uint16_t> nextAlertId = 0;
ProcessMutex captureLock;                   ///< guards captureCounts
std::map<uint16_t, uint32_t> captureCounts; ///< successful captures that are not released, by printer handle

uint16_t takeAlertId() {
    const ScopedMutex guard(alertIdLock.get());
    return nextAlertId.fetch_add(1, std::memory_order_relaxed);
}

constexpr WPARAM packParameter(uint32_t high, uint32_t handle) noexcept {
    return static_cast<uint32_t>(high << 16 | (handle & 0xFFFF));
}

/// Stores an alert, without its header, under the next id, and posts the message.
void storeAndPost(HWND window, uint32_t message, uint32_t handle, std::unique_ptr<Data> alert) {
    alert->skip(alertHeadSize, true);
    const uint16_t alertId = takeAlertId();
    alertStore.put(alertId, std::move(alert));
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
    const auto window = alertWindows.find(static_cast<int32_t>(client.clientId()));
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

/// A notification, and the printer state to post. Without a state, the application does not receive it.
struct NotificationRow {
    uint32_t notification;
    const char *text;
    std::optional<uint32_t> state; ///< in the form of WM_KAL_PRINTERSTATUS
};

constexpr NotificationRow notifications[] = {
    {ORX_PRINTER_PRINTING_AND_OKAY, "id=PRINTER_PRINTING_AND_OKAY", 1},
    {ORX_PRINTER_PRINTING_AND_ERROR, "id=PRINTER_PRINTING_AND_ERROR", 3},
    {ORX_PRINTER_IDLE_AND_OKAY, "id=PRINTER_IDLE_AND_OKAY", 0},
    {ORX_NOTIFICATION_START_JOB_REQUESTED, "id=NOTIFICATION_START_JOB_REQUESTED, not sent to client", {}},
    {ORX_NOTIFICATION_FIRST_WRITE, "id=NOTIFICATION_FIRST_WRITE, not sent to client", {}},
    {ORX_NOTIFICATION_END_JOB_REQUESTED, "id=NOTIFICATION_END_JOB_REQUESTED, not sent to client", {}},
    {ORX_NOTIFICATION_JOB_CANCELED, "id=NOTIFICATION_JOB_CANCELED, not sent to client", {}},
};

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
    for (const NotificationRow &row : notifications) {
        if (row.notification == notification) {
            logTrace(row.text);
            if (row.state) {
                logTrace("Posting message to hwnd=", window);
                PostMessageA(window, WM_KAL_PRINTERSTATUS, packParameter(*row.state, handle), 0);
            }
            return;
        }
    }
    logTrace("id=unknown");
}

void takeNotification(OrxClient &client, uint32_t handle, uint32_t category, uint32_t notification,
                      const uint32_t *endOfJobFlag) {
    const auto window = alertWindows.find(static_cast<int32_t>(client.clientId()));
    if (!window) {
        logTrace("0, No clients are registered for alerts, so we cannot send notifications.");
        return;
    }
    if (category == ORX_NOTIFICATION_CATEGORY_PRINTER) {
        takePrinterNotification(client, *window, handle, notification, endOfJobFlag);
    }
}

/// Decrements the capture count of a handle. @return false if it was 0
bool takeCaptureOff(uint16_t handle) {
    const ScopedMutex guard(captureLock.get());
    const auto position = captureCounts.find(handle);
    if (position == captureCounts.end() || position->second == 0) {
        return false;
    }
    --position->second; // an entry with 0 is kept, because its handle is likely to be captured again
    return true;
}

/// Counts a capture and sets its window. Changes nothing if it throws.
void countCapture(OrxClient &client, uint16_t handle, HWND window) {
    const ScopedMutex guard(captureLock.get());
    uint32_t &count = captureCounts[handle]; // counted last, because this line and the next may throw
    alertWindows.set(static_cast<int32_t>(client.clientId()), window);
    ++count;
}

int32_t captureAlerts(CallTrace &trace, OrxClient &client, uint16_t handle, uint32_t clientMask, HWND window) {
    if (const uint32_t code = client.OpenPrinter(handle)) {
        logTrace("openPrinter() failed, rc=", code);
        return trace.named(DEVERR_INVHANDLE);
    }
    if (const uint32_t code = client.RegisterForAlertsPrinter(handle, mapAlertMask(clientMask), KalAlertCallback)) {
        client.ClosePrinter(handle);
        trace.setResult("KAL_FAIL, errorCode=", code);
        return KAL_FAIL;
    }
    try {
        countCapture(client, handle, window);
    } catch (const std::bad_alloc &) {
        // There is no entry yet for the handle or the client identifier, so this does not end another capture.
        client.UnregisterForAlertsPrinter(handle);
        client.ClosePrinter(handle);
        throw;
    } catch (const Win32Exception &) {
        client.ClosePrinter(handle); // keeps the registration, because other captures of the handle may exist
        throw;
    }
    return trace.named(KAL_OKAY);
}

/// Ends everything for the handle at each release. Deliberate: it ignores the capture count and other opens.
void releaseAtService(OrxClient &client, uint16_t handle) {
    if (const uint32_t code = client.UnregisterForAlertsPrinter(handle)) {
        logTrace("unregisterForAlertsPrinter() failed, errorCode=", code);
    }
    if (const uint32_t code = client.ClosePrinter(handle)) {
        logTrace("closePrinter() failed, rc=", code);
    }
    if (const uint32_t code = client.UnregisterForNotificationsPrinter(handle)) {
        logTrace("unregisterForNotificationsPrinter() failed, errorCode=", code);
    } else if (const uint32_t closeCode = client.ClosePrinter(handle)) { // for the open of the notifications
        logTrace("2nd closePrinter() failed, rc=", closeCode);
    }
}

static_assert(sizeof(KalPrinterStatusRecord) == KAL_PRINTER_STATUS_SIZE);
static_assert(offsetof(KalPrinterStatusRecord, isPrinting) == 8 && offsetof(KalPrinterStatusRecord, reserved) == 16);

/// Whether a printer with this state of the service is printing. Logs some of the states.
bool isPrinting(uint32_t state) {
    switch (state) {
    case ORX_PRINTER_PRINTING_AND_OKAY:
    case ORX_PRINTER_PRINTING_AND_ERROR:
        logTrace("State=STATUS_PRINTING_");
        return true;
    case ORX_PRINTER_IDLE_AND_OKAY:
        logTrace("State=PRINTER_IDLE_AND_OKAY");
        return false;
    default:
        return false;
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

void resetAlertIds() noexcept {
    nextAlertId.store(0, std::memory_order_relaxed);
}

} // namespace kal

using namespace kal;

extern "C" {

int32_t KalCaptureAlerts(uint16_t, uint16_t handle, const uint32_t *mask, void *window) {
    return inlineCall(Description("KalCaptureAlerts() handle=", handle, ", hwnd=", window),
                      [&](CallTrace &trace, OrxClient &client) {
                          if (mask == nullptr) {
                              return trace.nullArgument("KalCaptureAlerts", "mask");
                          }
                          return captureAlerts(trace, client, handle, *mask, static_cast<HWND>(window));
                      });
}

int32_t KalReleaseAlerts(uint16_t, uint16_t handle) {
    return inlineCall(Description("KalReleaseAlerts() handle=", handle), "KalReleaseAlerts() orxClient = NULL",
                      [&](CallTrace &trace, OrxClient &client) {
                          if (!takeCaptureOff(handle)) {
                              return trace.named(DEVERR_INVHANDLE);
                          }
                          releaseAtService(client, handle);
                          return trace.named(KAL_OKAY);
                      });
}

int32_t KalQueryAlerts(uint16_t, uint16_t alertId, uint16_t, uint16_t, void *buffer, uint16_t *size) {
    // The id in the trace is deliberately that of the next alert, not the argument.
    const uint16_t next = nextAlertId.load(std::memory_order_relaxed);
    return inlineCall(Description("KalQueryAlerts()  alertId=", next), [&](CallTrace &trace, OrxClient &) {
        if (size == nullptr) {
            return trace.nullArgument("KalQueryAlerts", "size");
        }
        uint32_t stored = 0;
        const uint16_t room = buffer == nullptr ? 0 : *size;
        switch (alertStore.copy(alertId, buffer, room, stored)) {
        case AlertStore::Answer::unknownId:
            return trace.named(KAL_FAIL);
        case AlertStore::Answer::copied:
            *size = static_cast<uint16_t>(stored);
            return trace.named(KAL_OKAY);
        case AlertStore::Answer::tooSmall:
            break;
        }
        if (buffer == nullptr && *size >= stored) {
            return trace.nullArgument("KalQueryAlerts", "buffer");
        }
        *size = static_cast<uint16_t>(stored);
        logTrace("buffer size too small");
        return trace.numbered(static_cast<int32_t>(stored)); // deliberately the length, not a named code
    });
}

int32_t KalQueryPrinterStatus(uint16_t, uint16_t handle, uint16_t, void *buffer, uint32_t size, uint32_t *needed) {
    return inlineCall(Description("KalQueryPrinterStatus() handle=", handle), [&](CallTrace &trace, OrxClient &client) {
        constexpr uint32_t recordSize = KAL_PRINTER_STATUS_SIZE;
        if (needed == nullptr) {
            return trace.nullArgument("KalQueryPrinterStatus", "needed");
        }
        if (buffer == nullptr && size >= recordSize) {
            return trace.nullArgument("KalQueryPrinterStatus", "buffer");
        }
        uint32_t state = 0;
        if (const uint32_t code = client.GetCurrentStatePrinter(handle, &state)) {
            trace.setResult("KAL_FAIL ", code);
            return KAL_FAIL;
        }
        KalPrinterStatusRecord record = {recordSize - sizeof record.size, 1, isPrinting(state) ? 1u : 0u, 1, {}};
        *needed = recordSize;
        if (size < recordSize) {
            return trace.named(KAL_MOREDATA);
        }
        std::memcpy(buffer, &record, recordSize);
        return trace.named(KAL_OKAY);
    });
}

} // extern "C"
