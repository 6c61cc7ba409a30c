#ifndef SIMULATOR_PRINTER_EVENT_H
#define SIMULATOR_PRINTER_EVENT_H

#include "service/comc.h"
#include "simulator/configuration/Configuration.h"

#include <optional>

namespace simulator {

/** Something that happened to a printer: an alert, or a notification. */
struct PrinterEvent {
    std::uint16_t handle = 0;
    std::optional<Bytes> alert;
    std::uint32_t category = ORX_NOTIFICATION_CATEGORY_PRINTER;
    std::uint32_t notification = 0;
    std::optional<std::uint32_t> flag;
};

} // namespace simulator

#endif
