#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace simulator {

/// The id of a notification by the name that a configuration uses.
[[nodiscard]] std::optional<uint32_t> notificationByName(std::string_view name) noexcept;

/// All names, for messages to the author of a configuration.
[[nodiscard]] std::string notificationNames();

/// The state code of a printer by the name that a configuration uses.
[[nodiscard]] std::optional<uint32_t> stateByName(std::string_view name) noexcept;

/// The name of a notification's id, for the log.
[[nodiscard]] std::string notificationText(uint32_t notification);

} // namespace simulator
