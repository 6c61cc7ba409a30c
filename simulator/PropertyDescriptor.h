#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace simulator {

/// What "<Name>...</Name><Type>...</Type><Access>...</Access>" says.
struct PropertyDescriptor {
    std::string name;
    std::string type;   // String, Long or ByteArray; empty when not told
    std::string access; // ReadOnly or Writeable; empty when not told
};

/// None for a text that names no property.
[[nodiscard]] std::optional<PropertyDescriptor> readDescriptor(std::string_view text);

} // namespace simulator
