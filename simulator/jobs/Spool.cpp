#include "simulator/jobs/Spool.h"

#include <cstdio>
#include <cstdlib>

#include <nlohmann/json.hpp>

namespace simulator {

namespace {

namespace fs = std::filesystem;

uint32_t spoolCode(DWORD systemCode) noexcept {
    return systemCode == ERROR_DISK_FULL || systemCode == ERROR_HANDLE_DISK_FULL ? ERROR_DISK_FULL : ERROR_WRITE_FAULT;
}

std::string currentTime() {
    SYSTEMTIME now;
    GetSystemTime(&now);
    char text[40];
    std::snprintf(text, sizeof text, "%04u-%02u-%02uT%02u:%02u:%02u.%03uZ", now.wYear, now.wMonth, now.wDay, now.wHour,
                  now.wMinute, now.wSecond, now.wMilliseconds);
    return text;
}

std::string baseName(uint32_t number) {
    char text[24];
    std::snprintf(text, sizeof text, "job-%06u", number);
    return text;
}

/// Takes the next job number from a file in the folder, which only one process at a time can open.
uint32_t takeNumber(const fs::path &folder) {
    constexpr int attempts = 2000;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        const Handle counter(CreateFileW((folder / "job-number").c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                         OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
        if (!counter) {
            if (GetLastError() != ERROR_SHARING_VIOLATION) {
                return 1; // without a counter, create() tries numbers from 1 until one is free
            }
            Sleep(1);
            continue;
        }
        char text[16] = {};
        DWORD transferred = 0;
        ReadFile(counter.get(), text, sizeof text - 1, &transferred, nullptr);
        const auto number = static_cast<uint32_t>(std::strtoul(text, nullptr, 10)) + 1;
        const auto length = std::snprintf(text, sizeof text, "%u", number);
        SetFilePointer(counter.get(), 0, nullptr, FILE_BEGIN);
        WriteFile(counter.get(), text, static_cast<DWORD>(length), &transferred, nullptr);
        SetEndOfFile(counter.get());
        return number;
    }
    return 1;
}

bool isThere(const fs::path &path) noexcept {
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

DWORD writeAll(HANDLE file, const void *data, uint32_t count) noexcept {
    DWORD written = 0;
    if (!WriteFile(file, data, count, &written, nullptr)) {
        return GetLastError();
    }
    return written == count ? ERROR_SUCCESS : ERROR_DISK_FULL;
}

} // namespace

uint32_t SpoolFile::create(const fs::path &folder, std::optional<uint64_t> capacity) {
    std::error_code failure;
    fs::create_directories(folder, failure);
    if (!fs::is_directory(folder, failure)) {
        return ERROR_WRITE_FAULT;
    }
    folder_ = folder;
    capacity_ = capacity;
    startTime_ = currentTime();
    for (number_ = takeNumber(folder);; ++number_) {
        final_ = folder / (baseName(number_) + ".prn");
        if (isThere(final_)) {
            continue;
        }
        auto temporary = folder / (baseName(number_) + ".part");
        file_ = Handle(CreateFileW(temporary.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_NEW,
                                   FILE_ATTRIBUTE_NORMAL, nullptr));
        if (!file_) {
            const auto code = GetLastError();
            if (code == ERROR_FILE_EXISTS) {
                continue;
            }
            return spoolCode(code);
        }
        temporary_ = std::move(temporary);
        if (!isThere(final_)) {
            return ERROR_SUCCESS;
        }
        discard(); // between the two checks, another process finished a job with this number
    }
}

uint32_t SpoolFile::write(const void *data, uint32_t count) {
    if (capacity_ && size_ + count > *capacity_) {
        return ERROR_DISK_FULL;
    }
    const auto code = writeAll(file_.get(), data, count);
    if (code != ERROR_SUCCESS) {
        return spoolCode(code);
    }
    size_ += count;
    return ERROR_SUCCESS;
}

uint32_t SpoolFile::finish(const JobDescription &description) {
    nlohmann::ordered_json json;
    json["job"] = number_;
    json["documentName"] = description.documentName;
    json["handle"] = description.handle;
    json["printer"] = description.printer;
    json["port"] = description.port;
    json["bytes"] = size_;
    json["clientId"] = description.clientId;
    json["process"] = GetCurrentProcessId();
    json["started"] = startTime_;
    json["ended"] = currentTime();
    json["user"] = description.user;
    json["host"] = description.host;
    json["options"] = description.options;
    json["jobStrings"] = nlohmann::ordered_json::parse(description.jobStringsJson, nullptr, false);
    // Document names are in the application's code page; bytes that are not UTF-8 are replaced.
    const auto text = json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";

    const auto companion = folder_ / (baseName(number_) + ".json");
    Handle companionFile(CreateFileW(companion.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                                     FILE_ATTRIBUTE_NORMAL, nullptr));
    auto code =
        companionFile ? writeAll(companionFile.get(), text.data(), static_cast<uint32_t>(text.size())) : GetLastError();
    companionFile.close();
    file_.close();
    if (code == ERROR_SUCCESS && !MoveFileExW(temporary_.c_str(), final_.c_str(), 0)) {
        code = GetLastError();
    }
    if (code != ERROR_SUCCESS) {
        DeleteFileW(companion.c_str());
        discard();
        return spoolCode(code);
    }
    temporary_.clear();
    return ERROR_SUCCESS;
}

void SpoolFile::discard() noexcept {
    file_.close();
    if (!temporary_.empty()) {
        DeleteFileW(temporary_.c_str());
        temporary_.clear();
    }
}

} // namespace simulator
