#include "api/AlertCallbacks.h"
#include "api/AlertMask.h"
#include "api/CallFrame.h"
#include "api/CapturedAlerts.h"
#include "api/Notifications.h"
#include "api/kal.h"
#include "service/OrxClient.h"

#include <windows.h>

#include <cstddef>
#include <cstring>
#include <new>

namespace kal {

namespace {

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

} // namespace

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
    const uint16_t next = nextAlertIdentifier();
    return inlineCall(Description("KalQueryAlerts()  alertId=", next), [&](CallTrace &trace, OrxClient &) {
        if (size == nullptr) {
            return trace.nullArgument("KalQueryAlerts", "size");
        }
        uint32_t stored = 0;
        const uint16_t room = buffer == nullptr ? 0 : *size;
        switch (copyStoredAlert(alertId, buffer, room, stored)) {
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
        const PrintingState printing = classifyPrinterState(state);
        if (printing.text != nullptr) {
            logTrace(printing.text);
        }
        KalPrinterStatusRecord record = {recordSize - sizeof record.size, 1, printing.isPrinting ? 1u : 0u, 1, {}};
        *needed = recordSize;
        if (size < recordSize) {
            return trace.named(KAL_MOREDATA);
        }
        std::memcpy(buffer, &record, recordSize);
        return trace.named(KAL_OKAY);
    });
}

} // extern "C"
