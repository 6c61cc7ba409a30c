#pragma once

#include <span>
#include <string_view>

namespace simulator {

/// The names of all entry points, in no particular order.
[[nodiscard]] std::span<const std::string_view> entryPointNames() noexcept;

[[nodiscard]] bool isEntryPoint(std::string_view name) noexcept;

} // namespace simulator
