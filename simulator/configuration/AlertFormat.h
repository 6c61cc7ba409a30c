#pragma once

#include "simulator/configuration/Configuration.h"

#include <optional>
#include <string>
#include <string_view>

namespace simulator {

/// Minimum number of readable bytes of a delivered alert: clients read byte 10 without checking the length.
constexpr size_t readableAlertBytes = 12;

/// The bytes of an alert by its name in a configuration; nothing if this kind of device does not have the alert.
[[nodiscard]] std::optional<Bytes> alertByName(std::string_view name, DeviceKind kind);

/// All names for a kind of device, for error messages.
[[nodiscard]] std::string alertNames(DeviceKind kind);

} // namespace simulator
