#include "api/Notifications.h"

#include "comc/comc.h"

#include <algorithm>
#include <iterator>

namespace kal {

namespace {

struct NotificationRow {
    uint32_t notification;
    NotificationVerdict verdict;
};

constexpr NotificationRow notifications[] = {
    {ORX_PRINTER_PRINTING_AND_OKAY, {"id=PRINTER_PRINTING_AND_OKAY", 1}},
    {ORX_PRINTER_PRINTING_AND_ERROR, {"id=PRINTER_PRINTING_AND_ERROR", 3}},
    {ORX_PRINTER_IDLE_AND_OKAY, {"id=PRINTER_IDLE_AND_OKAY", 0}},
    {ORX_NOTIFICATION_START_JOB_REQUESTED, {"id=NOTIFICATION_START_JOB_REQUESTED, not sent to client", {}}},
    {ORX_NOTIFICATION_FIRST_WRITE, {"id=NOTIFICATION_FIRST_WRITE, not sent to client", {}}},
    {ORX_NOTIFICATION_END_JOB_REQUESTED, {"id=NOTIFICATION_END_JOB_REQUESTED, not sent to client", {}}},
    {ORX_NOTIFICATION_JOB_CANCELED, {"id=NOTIFICATION_JOB_CANCELED, not sent to client", {}}},
};

} // namespace

NotificationVerdict classifyNotification(uint32_t notification) noexcept {
    const auto *const row = std::ranges::find(notifications, notification, &NotificationRow::notification);
    return row == std::end(notifications) ? NotificationVerdict{"id=unknown", {}} : row->verdict;
}

PrintingState classifyPrinterState(uint32_t state) noexcept {
    switch (state) {
    case ORX_PRINTER_PRINTING_AND_OKAY:
    case ORX_PRINTER_PRINTING_AND_ERROR:
        return {true, "State=STATUS_PRINTING_"};
    case ORX_PRINTER_IDLE_AND_OKAY:
        return {false, "State=PRINTER_IDLE_AND_OKAY"};
    default:
        return {false, nullptr};
    }
}

} // namespace kal
