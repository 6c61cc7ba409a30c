#pragma once

#include <span>
#include <string_view>

namespace kal {

/// The text of a property in the room that the service filled: the terminator decides, not a reported length, since the
/// service need not count it, nor have room for it.
[[nodiscard]] std::string_view propertyText(std::span<const char> room) noexcept;

/// The values of the property "Device".
inline constexpr std::string_view cpdPrinter = "CpdPrinter";
inline constexpr std::string_view bpdPrinter = "BpdPrinter";

} // namespace kal
