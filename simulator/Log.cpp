#include "simulator/Log.h"

#include "simulator/Handle.h"

#include <cstdio>
#include <string>

namespace simulator {

namespace {

std::string timeStamp() {
    SYSTEMTIME now;
    GetLocalTime(&now);
    char text[64];
    std::snprintf(text, sizeof text, "%04u-%02u-%02u %02u:%02u:%02u.%03u [%lu] ", now.wYear, now.wMonth, now.wDay,
                  now.wHour, now.wMinute, now.wSecond, now.wMilliseconds, GetCurrentProcessId());
    return text;
}

} // namespace

void Log::write(std::string_view line) noexcept {
    try {
        const auto text = timeStamp().append(line).append("\r\n");
        std::error_code ignored;
        // With append access alone, each write goes to the end of the file in one step, also from several processes.
        Handle file(CreateFileW(file_.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
        if (!file && std::filesystem::create_directories(file_.parent_path(), ignored)) {
            file = Handle(CreateFileW(file_.c_str(), FILE_APPEND_DATA,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_ALWAYS,
                                      FILE_ATTRIBUTE_NORMAL, nullptr));
        }
        DWORD written = 0;
        if (file) {
            WriteFile(file.get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
        }
    } catch (const std::exception &) {
        // The line is lost. The simulator must not fail because its log does.
    }
}

void reportLoudly(std::string_view line) noexcept {
    try {
        const auto text = "comc.dll simulator: " + std::string(line) + "\r\n";
        OutputDebugStringA(text.c_str());
        DWORD written = 0;
        WriteFile(GetStdHandle(STD_ERROR_HANDLE), text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    } catch (const std::exception &) {
        // As above.
    }
}

} // namespace simulator
