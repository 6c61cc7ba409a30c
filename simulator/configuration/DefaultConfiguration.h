#pragma once

#include <string_view>

namespace simulator {

/// What the simulator offers without a file of its own: one printer a transport, both kinds of device.
[[nodiscard]] std::string_view defaultConfiguration() noexcept;

} // namespace simulator
