// The words of the window, and the conversions to them.
#pragma once

#include <cstdint>
#include <span>
#include <string>

[[nodiscard]] std::wstring connectionName(uint32_t portType);
[[nodiscard]] std::wstring stateName(uint16_t state);

/// Explains a result to the person who uses the window.
[[nodiscard]] std::wstring resultText(int32_t result);

/// Converts the library's strings, which are in the system's code page.
[[nodiscard]] std::wstring toWide(const char *text);

[[nodiscard]] std::wstring hexadecimal(std::span<const uint8_t> bytes);
[[nodiscard]] std::wstring handleText(uint16_t handle);
[[nodiscard]] std::wstring localTime();
