#pragma once

#include "simulator/configuration/Configuration.h"

#include <optional>
#include <string>
#include <string_view>

namespace simulator {

/// Readable bytes behind every alert handed over, however short it is: readers look at byte 10 without asking.
constexpr size_t readableAlertBytes = 12;

/// The bytes of an alert by its name in a configuration; none when this kind of device has no such alert.
[[nodiscard]] std::optional<Bytes> alertByName(std::string_view name, DeviceKind kind);

/// All names of a kind of device, for messages to the author of a configuration.
[[nodiscard]] std::string alertNames(DeviceKind kind);

} // namespace simulator
