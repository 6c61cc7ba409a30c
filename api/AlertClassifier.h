#pragma once

#include <cstdint>
#include <span>

namespace kal {

/// The kind of a CpdPrinter's alert.
enum class CpdAlert { invalid, powerOnReset, status, printResync };

/// What to do with an alert of a CpdPrinter.
struct CpdVerdict {
    CpdAlert kind;
    uint32_t message; ///< the window message to post; 0 for none
    const char *text; ///< for the log
};

[[nodiscard]] CpdVerdict classifyCpdAlert(std::span<const uint8_t> alert) noexcept;

/// What to do with a BpdPrinter's alert.
struct StatusWindowVerdict {
    uint32_t message; ///< the window message to post; 0 for none
    const char *text; ///< the line for the log
};

/// Reads the type of an extended alert (class 0x73) without checking the length, because the service always passes a
/// complete frame.
/// @param alert   for an extended alert, at least 11 readable bytes, even if length is less
/// @param length  number of bytes in the alert
[[nodiscard]] StatusWindowVerdict classifyStatusWindowAlert(const uint8_t *alert, uint32_t length) noexcept;

/// Number of bytes at the start of an alert that are not stored.
inline constexpr uint32_t alertHeadSize = 5;

} // namespace kal
