#include "spy/RecordFile.h"

#include <cstdio>
#include <exception>
#include <utility>

namespace spy {

namespace {

std::string startedText(const FILETIME &time) {
    SYSTEMTIME parts;
    FileTimeToSystemTime(&time, &parts);
    const auto ticks = static_cast<uint64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime; // of 100 ns
    const auto microseconds = static_cast<unsigned>(ticks / 10 % 1'000'000);
    char text[64];
    std::snprintf(text, sizeof text, "%04u-%02u-%02uT%02u:%02u:%02u.%06uZ", parts.wYear, parts.wMonth, parts.wDay,
                  parts.wHour, parts.wMinute, parts.wSecond, microseconds);
    return text;
}

/// "C:\Kal\kal.exe" becomes "kal".
std::wstring stemOf(const std::wstring &path) {
    const auto name = path.substr(path.rfind(L'\\') + 1);
    return name.substr(0, name.rfind(L'.'));
}

/// "-20120305-140709-0a3c": local time and process id.
std::wstring stampOf(const FILETIME &time) {
    FILETIME local;
    SYSTEMTIME parts;
    FileTimeToLocalFileTime(&time, &local);
    FileTimeToSystemTime(&local, &parts);
    char text[64];
    const int length = std::snprintf(text, sizeof text, "-%04u%02u%02u-%02u%02u%02u-%04lx", parts.wYear, parts.wMonth,
                                     parts.wDay, parts.wHour, parts.wMinute, parts.wSecond, GetCurrentProcessId());
    return {text, text + length};
}

void createFolders(const std::wstring &folder) {
    for (auto end = folder.find_first_of(L"\\/"); end != std::wstring::npos;
         end = folder.find_first_of(L"\\/", end + 1)) {
        CreateDirectoryW(folder.substr(0, end).c_str(), nullptr); // if this fails, opening the file fails
    }
}

} // namespace

int64_t recordingTime() noexcept {
    const auto now = [] {
        LARGE_INTEGER count;
        QueryPerformanceCounter(&count);
        return count.QuadPart;
    };
    static const int64_t begin = now();
    static const int64_t perSecond = [] {
        LARGE_INTEGER frequency;
        QueryPerformanceFrequency(&frequency);
        return frequency.QuadPart;
    }();
    const int64_t elapsed = now() - begin;
    return elapsed / perSecond * 1'000'000 + elapsed % perSecond * 1'000'000 / perSecond;
}

std::string narrowText(std::wstring_view text) {
    const int count = static_cast<int>(text.size());
    const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), count, nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), count, result.data(), size, nullptr, nullptr);
    return result;
}

std::wstring moduleFile(HMODULE module) {
    std::wstring name(32768, L'\0');
    name.resize(GetModuleFileNameW(module, name.data(), static_cast<DWORD>(name.size())));
    return name;
}

void RecordFile::fail(const char *what) noexcept {
    if (!std::exchange(hasFailed_, true)) {
        char text[256];
        std::snprintf(text, sizeof text, "comc.dll spy: %s, code %lu; this process is not recorded any further\n", what,
                      GetLastError());
        OutputDebugStringA(text);
    }
}

void RecordFile::write(std::string line, const std::wstring &service) {
    if (hasFailed_ || (file_ == INVALID_HANDLE_VALUE && !open(service))) {
        return;
    }
    line += '\n';
    if (!append(line)) {
        fail("the recording cannot be written");
    }
}

bool RecordFile::append(const std::string &line) {
    DWORD written = 0;
    return WriteFile(file_, line.data(), static_cast<DWORD>(line.size()), &written, nullptr) != 0 &&
           written == line.size();
}

bool RecordFile::open(const std::wstring &service) {
    createFolders(settings_.folder);
    const auto program = moduleFile(nullptr);
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    const auto name = settings_.folder + stemOf(program) + stampOf(now);
    // Process ids can be reused within a second.
    for (int attempt = 0; file_ == INVALID_HANDLE_VALUE && attempt < 100; ++attempt) {
        const auto path = name + (attempt == 0 ? L"" : L"-" + std::to_wstring(attempt)) + L".jsonl";
        file_ = CreateFileW(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, CREATE_NEW,
                            FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file_ == INVALID_HANDLE_VALUE && GetLastError() != ERROR_FILE_EXISTS) {
            break;
        }
    }
    recording::RecordingHeader header;
    header.process = GetCurrentProcessId();
    header.program = narrowText(program);
    header.service = narrowText(service);
    header.started = startedText(now);
    header.redacted = settings_.redacts;
    if (file_ == INVALID_HANDLE_VALUE || !append(recording::composeHeader(header) + '\n')) {
        fail("the recording cannot be made");
        return false;
    }
    static_cast<void>(recordingTime()); // the first call sets the time to 0
    return true;
}

} // namespace spy
