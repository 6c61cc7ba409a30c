#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace simulator {

/// The id of a notification by its name in a configuration.
[[nodiscard]] std::optional<uint32_t> notificationByName(std::string_view name) noexcept;

/// All names, for error messages.
[[nodiscard]] std::string notificationNames();

/// The state code of a printer by its name in a configuration.
[[nodiscard]] std::optional<uint32_t> stateByName(std::string_view name) noexcept;

/// The name of a notification's id, for the log.
[[nodiscard]] std::string notificationText(uint32_t notification);

} // namespace simulator
