#pragma once

#include <string_view>

namespace simulator {

/// The built-in configuration: one printer per transport, with both kinds of device.
[[nodiscard]] std::string_view defaultConfiguration() noexcept;

} // namespace simulator
