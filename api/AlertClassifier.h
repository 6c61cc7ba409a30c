#pragma once

#include <cstdint>
#include <span>

namespace kal {

/// What an alert of a CpdPrinter is.
enum class CpdAlert { invalid, powerOnReset, status, printResync };

[[nodiscard]] CpdAlert classifyCpdAlert(std::span<const uint8_t> alert) noexcept;

/// What is to be done with an alert of a BpdPrinter.
struct StatusWindowVerdict {
    uint32_t message; ///< the window message to post; 0 for none
    const char *text; ///< what the log says about it
};

/// @param alert   at least 11 readable bytes for an extended alert (class 0x73), whatever its length: the type is read
///                without a further check, as the service always hands over a whole frame
/// @param length  bytes that belong to the alert
[[nodiscard]] StatusWindowVerdict classifyStatusWindowAlert(const uint8_t *alert, uint32_t length) noexcept;

/// Bytes at the start of an alert that are not stored.
inline constexpr uint32_t alertHeadSize = 5;

} // namespace kal
