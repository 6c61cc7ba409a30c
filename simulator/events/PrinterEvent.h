#pragma once

#include "comc/comc.h"
#include "simulator/configuration/Configuration.h"

#include <optional>

namespace simulator {

/// Something that happened to a printer: an alert, or a notification.
struct PrinterEvent {
    uint16_t handle = 0;
    std::optional<Bytes> alert;
    uint32_t category = ORX_NOTIFICATION_CATEGORY_PRINTER;
    uint32_t notification = 0;
    std::optional<uint32_t> flag;
};

} // namespace simulator
