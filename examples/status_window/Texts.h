// The words of the window, and the conversions to them.
#pragma once

#include "PrinterService.h"

#include <cstdint>
#include <span>
#include <string>

[[nodiscard]] std::wstring connectionName(uint32_t portType);
[[nodiscard]] std::wstring stateName(PrinterState state);

/// Explains a result to the person who uses the window.
[[nodiscard]] std::wstring resultText(int32_t result);

/// Converts a string of the library. The library passes the service's bytes on unchanged, and these are UTF-8. Bytes
/// that are not UTF-8 become replacement characters.
[[nodiscard]] std::wstring fromUtf8(const char *text);

[[nodiscard]] std::wstring hexadecimal(std::span<const uint8_t> bytes);
[[nodiscard]] std::wstring handleText(uint16_t handle);
[[nodiscard]] std::wstring localTime();
