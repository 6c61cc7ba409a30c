#pragma once

#include <cstdint>

namespace kal {

/// Each message has one level bit; a component's setting is a mask of enabled bits.
namespace logLevel {
inline constexpr uint32_t none = 0;
inline constexpr uint32_t error = 0x1; ///< written whatever the settings say, as long as there is a settings key
inline constexpr uint32_t trace = 0x2; ///< entry and exit of the exports, and most messages
inline constexpr uint32_t registration = 0x8;
inline constexpr uint32_t all = 0xFFFFFFFF;
} // namespace logLevel

/// Whether a level passes the mask of "All" or that of the message's component.
[[nodiscard]] constexpr bool passesMasks(uint32_t level, uint32_t allMask, uint32_t componentMask) noexcept {
    return (level & (allMask | componentMask)) != 0;
}

} // namespace kal
