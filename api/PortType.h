#pragma once

#include <cstdint>
#include <string_view>

namespace kal {

/// Whether a port-type code is valid for the connection kind in bits 11 to 14 of a handle.
[[nodiscard]] bool portTypeFits(uint32_t portType, uint16_t handle) noexcept;

/// The port-type code of a transport name in any case; 0 for an unknown name.
[[nodiscard]] uint32_t portTypeOfTransport(std::string_view transport) noexcept;

} // namespace kal
