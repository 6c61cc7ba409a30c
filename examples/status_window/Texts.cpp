#include "Texts.h"

#include "kal.h"

#include <windows.h>

#include <cwchar>
#include <iterator>

std::wstring connectionName(uint32_t portType) {
    switch (portType) {
    case NETTYPE_IP:
        return L"Network (IPv4)";
    case NETTYPE_RHOA:
        return L"Network (host-based)";
    case NETTYPEUSB:
        return L"USB";
    case NETTYPE_LOCAL:
        return L"Parallel port";
    default:
        return L"Other";
    }
}

std::wstring stateName(PrinterState state) {
    switch (state) {
    case PrinterState::idle:
        return L"Idle";
    case PrinterState::printing:
        return L"Printing";
    case PrinterState::error:
        return L"Error";
    case PrinterState::unknown:
        return L"Unknown";
    case PrinterState::unreachable:
        return L"Not reachable";
    case PrinterState::withoutAlerts:
        return L"No alerts";
    default:
        return L"State " + std::to_wstring(static_cast<uint32_t>(state));
    }
}

// KAL_FAIL is positive and the others are negative: compare with the names, never with 0 by "less than".
std::wstring resultText(int32_t result) {
    switch (result) {
    case KAL_OKAY:
        return L"success";
    case KAL_FAIL:
        return L"the service reports a failure";
    case DEVERR_INVHANDLE:
        return L"the service does not know this printer any more";
    case DEVERR_CONNECT:
        return L"the printer cannot be reached";
    case DEVERR_PROTOCOL:
        return L"the printer does not take this data";
    case KAL_PRNBUSY:
        return L"the printer is busy";
    default:
        return L"result " + std::to_wstring(result);
    }
}

// ------------------------------------------------------------------------------------------------- small things

std::wstring fromUtf8(const char *text) {
    const int size = MultiByteToWideChar(CP_UTF8, 0, text, -1, nullptr, 0);
    if (size <= 0) {
        return {};
    }
    std::wstring wide(static_cast<size_t>(size), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text, -1, wide.data(), size);
    wide.pop_back();
    return wide;
}

std::wstring hexadecimal(std::span<const uint8_t> bytes) {
    std::wstring text;
    for (const uint8_t byte : bytes) {
        constexpr const wchar_t *digits = L"0123456789ABCDEF";
        if (!text.empty()) {
            text += L' ';
        }
        text += {digits[byte >> 4], digits[byte & 15]};
    }
    return text;
}

std::wstring handleText(uint16_t handle) {
    wchar_t text[8];
    std::swprintf(text, std::size(text), L"0x%04X", static_cast<unsigned>(handle));
    return text;
}

std::wstring localTime() {
    SYSTEMTIME now;
    GetLocalTime(&now);
    wchar_t text[16];
    std::swprintf(text, std::size(text), L"%02u:%02u:%02u", static_cast<unsigned>(now.wHour),
                  static_cast<unsigned>(now.wMinute), static_cast<unsigned>(now.wSecond));
    return text;
}
