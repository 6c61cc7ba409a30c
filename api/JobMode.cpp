#include "api/AlertCallbacks.h"
#include "api/CallFrame.h"
#include "api/kal.h"
#include "comc/Properties.h"
#include "service/OrxClient.h"

#include <charconv>
#include <iterator>

namespace kal {

namespace {

enum JobControlMode : uint32_t { stopNotifications = 1, startNotifications = 2, refusedMode = 128 };

/// Logged by two exports without a binding: KalSetEndOfJobMode deliberately logs the other export's name.
constexpr const char *cancelModeWithoutBinding = "KalSetJobCancelMode() orxClient = NULL";

uint32_t stopNotificationsOf(OrxClient &client, uint16_t handle) {
    const uint32_t code = client.UnregisterForNotificationsPrinter(handle);
    if (code == 1) {
        // Deliberate: the message reports success, but the result is computed from the code. Both are known to users.
        logTrace(
            " unregisterForNotifications() rc=ERROR_INVALID_FUNCTION,                     mapping to ERROR_SUCCESS");
    }
    client.ClosePrinter(handle); // for the open of startNotifications
    return code;
}

} // namespace

} // namespace kal

using namespace kal;

extern "C" {

int32_t KalSetEndOfJobMode(uint16_t, uint16_t handle, uint16_t, uint16_t, uint16_t seconds) {
    return inlineCall(Description("KalSetEndOfJobMode() handle=", handle), cancelModeWithoutBinding,
                      [&](CallTrace &trace, OrxClient &client) {
                          char milliseconds[16] = {};
                          char *const end = std::end(milliseconds) - 1;
                          std::to_chars(milliseconds, end, static_cast<int32_t>(seconds) * 1000);
                          client.SetJobStringPrinter(handle, comc::property::endOfJobDuration.descriptor, milliseconds);
                          return trace.numbered(KAL_OKAY); // whatever the service says
                      });
}

int32_t KalSetJobCancelMode(uint16_t, uint16_t handle, int32_t jobId) {
    return inlineCall(
        Description("KalSetJobCancelMode() handle=", handle, " jobId=", jobId), cancelModeWithoutBinding,
        [&](CallTrace &trace, OrxClient &client) {
            if (jobId < 1) {
                return trace.named(KAL_FAIL);
            }
            const uint8_t bytes[4] = {static_cast<uint8_t>(jobId >> 24), static_cast<uint8_t>(jobId >> 16),
                                      static_cast<uint8_t>(jobId >> 8), static_cast<uint8_t>(jobId)};
            return trace.named(
                plainResult(client.SetByteArrayPrinter(handle, comc::property::jobId.descriptor, bytes, sizeof bytes)));
        });
}

int32_t KalSetJobControlMode(uint16_t, uint16_t handle, uint32_t mode) {
    return inlineCall(Description("KalSetJobControlMode() handle=", handle), [&](CallTrace &trace, OrxClient &client) {
        switch (mode) {
        case refusedMode:
            return trace.named(KAL_FAIL);
        case startNotifications:
            if (client.OpenPrinter(handle) != 0) {
                return trace.named(DEVERR_INVHANDLE);
            }
            return trace.named(notificationModeResult(
                client.RegisterForNotificationsPrinter(handle, ORX_NOTIFICATIONS_ALL, KalNotificationCallback)));
        case stopNotifications:
            return trace.named(notificationModeResult(stopNotificationsOf(client, handle)));
        default:
            return trace.named(KAL_OKAY);
        }
    });
}

int32_t KalSetJobStringPrinter(uint16_t, uint16_t handle, const char *key, const char *value) {
    return inlineCall(Description("KalSetJobStringPrinter() handle=", handle, " key=", key, " value=", value),
                      "KalSetJobStringPrinter() orxClient = NULL", [&](CallTrace &trace, OrxClient &client) {
                          if (key == nullptr || value == nullptr) {
                              logError("KalSetJobStringPrinter() Key or Value = NULL");
                              return trace.named(KAL_FAIL);
                          }
                          client.SetJobStringPrinter(handle, key, value);
                          return trace.numbered(KAL_OKAY); // whatever the service says
                      });
}

} // extern "C"
