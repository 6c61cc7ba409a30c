#include "platform/Exception.h"

#include <windows.h>

#include <algorithm>
#include <utility>

namespace kal {

namespace {

constexpr DWORD englishUnitedStates = 1033;

/// The system's message for a code, up to its first line break.
std::string systemText(uint32_t code) {
    char buffer[256] = {};
    if (FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, englishUnitedStates,
                       buffer, sizeof buffer, nullptr) == 0) {
        return "Error getting message:" + std::to_string(GetLastError());
    }
    const std::string text(buffer, strnlen(buffer, sizeof buffer));
    const size_t carriageReturn = std::min(text.find('\r'), text.size());
    return text.substr(0, std::min(text.find('\n'), carriageReturn));
}

} // namespace

Exception::Exception(std::string message, uint32_t code, std::string sourceFile, uint32_t sourceLine)
    : message_(std::move(message)), code_(code), file(std::move(sourceFile)), line(sourceLine) {}

std::string Exception::errorText() const {
    return code_ == 0 ? std::string() : std::to_string(code_);
}

std::string Win32Exception::errorText() const {
    return code() == 0 ? std::string() : "Win32(" + std::to_string(code()) + systemText(code());
}

void throwLastError(const char *message, const char *file, uint32_t line) {
    const DWORD code = GetLastError(); // first, because building the strings may change it
    throw Win32Exception(message, code, file, line);
}

} // namespace kal
