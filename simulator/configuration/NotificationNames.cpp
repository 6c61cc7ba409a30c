#include "simulator/configuration/NotificationNames.h"

#include "comc/comc.h"

namespace simulator {

namespace {

struct NamedNumber {
    std::string_view name;
    uint32_t number;
};

constexpr NamedNumber notifications[] = {
    {"printingAndOkay", ORX_PRINTER_PRINTING_AND_OKAY}, {"printingAndError", ORX_PRINTER_PRINTING_AND_ERROR},
    {"idleAndOkay", ORX_PRINTER_IDLE_AND_OKAY},         {"startJobRequested", ORX_NOTIFICATION_START_JOB_REQUESTED},
    {"firstWrite", ORX_NOTIFICATION_FIRST_WRITE},       {"endJobRequested", ORX_NOTIFICATION_END_JOB_REQUESTED},
    {"jobCanceled", ORX_NOTIFICATION_JOB_CANCELED},     {"trueEndOfJob", ORX_NOTIFICATION_TRUE_END_OF_JOB},
};

constexpr NamedNumber states[] = {
    {"printing", ORX_PRINTER_PRINTING_AND_OKAY},
    {"error", ORX_PRINTER_PRINTING_AND_ERROR},
    {"idle", ORX_PRINTER_IDLE_AND_OKAY},
};

template <size_t Size>
std::optional<uint32_t> numberOf(const NamedNumber (&rows)[Size], std::string_view name) noexcept {
    for (const auto &row : rows) {
        if (row.name == name) {
            return row.number;
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<uint32_t> notificationByName(std::string_view name) noexcept {
    return numberOf(notifications, name);
}

std::string notificationNames() {
    std::string text;
    for (const auto &row : notifications) {
        text.append(text.empty() ? "" : ", ").append(row.name);
    }
    return text;
}

std::optional<uint32_t> stateByName(std::string_view name) noexcept {
    return numberOf(states, name);
}

std::string notificationText(uint32_t notification) {
    for (const auto &row : notifications) {
        if (row.number == notification) {
            return std::string(row.name);
        }
    }
    return std::to_string(notification);
}

} // namespace simulator
