#pragma once

#include <cstdint>
#include <span>

namespace kal {

/// The kind of a CpdPrinter's alert.
enum class CpdAlert { invalid, powerOnReset, status, printResync };

[[nodiscard]] CpdAlert classifyCpdAlert(std::span<const uint8_t> alert) noexcept;

/// What to do with a BpdPrinter's alert.
struct StatusWindowVerdict {
    uint32_t message; ///< the window message to post; 0 for none
    const char *text; ///< the line for the log
};

/// @param alert   for an extended alert (class 0x73) at least 11 readable bytes, even if length is less: the type is
/// read
///                without a check, because the service always passes a complete frame
/// @param length  number of bytes in the alert
[[nodiscard]] StatusWindowVerdict classifyStatusWindowAlert(const uint8_t *alert, uint32_t length) noexcept;

/// Number of bytes at the start of an alert that are not stored.
inline constexpr uint32_t alertHeadSize = 5;

} // namespace kal
