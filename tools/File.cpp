#include "tools/File.h"

#include "tools/Invocation.h"
#include "tools/text/Text.h"

#include <utility>

namespace tool {

namespace {

constexpr size_t outputBufferSize = size_t{256} * 1024;
constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

HANDLE openForReading(const std::string &path) {
    return CreateFileW(toWide(path).c_str(), GENERIC_READ, shareAll, nullptr, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN,
                       nullptr);
}

std::string reason(const std::string &path, std::string_view problem) {
    return path + std::string(problem) + systemErrorText(GetLastError());
}

std::string temporaryName(const std::string &path) {
    return path + ".part";
}

} // namespace

InputFile::InputFile(const std::string &path) : path_(path), file_(openForReading(path)) {
    if (file_ == INVALID_HANDLE_VALUE) {
        throw CommandFailure(reason(path, " cannot be opened: "));
    }
}

InputFile::~InputFile() {
    CloseHandle(file_);
}

uint64_t InputFile::size() const {
    LARGE_INTEGER size;
    if (!GetFileSizeEx(file_, &size)) {
        throw CommandFailure(reason(path_, " has no size: "));
    }
    return static_cast<uint64_t>(size.QuadPart);
}

size_t InputFile::read(std::span<char> buffer) {
    size_t filled = 0;
    while (filled < buffer.size()) {
        DWORD count = 0;
        if (!ReadFile(file_, buffer.data() + filled, static_cast<DWORD>(buffer.size() - filled), &count, nullptr)) {
            throw CommandFailure(reason(path_, " cannot be read: "));
        }
        if (count == 0) {
            break;
        }
        filled += count;
    }
    return filled;
}

bool InputFile::isStillAt(const std::string &path) const {
    const HANDLE other = openForReading(path);
    if (other == INVALID_HANDLE_VALUE) {
        return false;
    }
    BY_HANDLE_FILE_INFORMATION here{};
    BY_HANDLE_FILE_INFORMATION there{};
    const bool known = GetFileInformationByHandle(file_, &here) != 0 && GetFileInformationByHandle(other, &there) != 0;
    CloseHandle(other);
    return known && here.dwVolumeSerialNumber == there.dwVolumeSerialNumber &&
           here.nFileIndexHigh == there.nFileIndexHigh && here.nFileIndexLow == there.nFileIndexLow;
}

OutputFile::OutputFile(const std::string &path)
    : path_(path), file_(CreateFileW(toWide(temporaryName(path)).c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                     CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr)) {
    if (file_ == INVALID_HANDLE_VALUE) {
        throw CommandFailure(reason(path, " cannot be written: "));
    }
    buffer_.reserve(outputBufferSize);
}

OutputFile::~OutputFile() {
    if (file_ != INVALID_HANDLE_VALUE) {
        CloseHandle(file_);
        DeleteFileW(toWide(temporaryName(path_)).c_str());
    }
}

void OutputFile::write(std::string_view bytes) {
    if (buffer_.size() + bytes.size() > outputBufferSize) {
        flush();
    }
    buffer_ += bytes;
}

void OutputFile::commit() {
    flush();
    CloseHandle(std::exchange(file_, INVALID_HANDLE_VALUE));
    if (MoveFileExW(toWide(temporaryName(path_)).c_str(), toWide(path_).c_str(), MOVEFILE_REPLACE_EXISTING) == 0) {
        const std::string message = reason(path_, " cannot be replaced: ");
        DeleteFileW(toWide(temporaryName(path_)).c_str());
        throw CommandFailure(message);
    }
}

void OutputFile::flush() {
    DWORD count = 0;
    if (WriteFile(file_, buffer_.data(), static_cast<DWORD>(buffer_.size()), &count, nullptr) == 0 ||
        count != buffer_.size()) {
        throw CommandFailure(reason(path_, " cannot be written: "));
    }
    buffer_.clear();
}

bool fileExists(const std::string &path) {
    return fileSize(path).has_value();
}

std::optional<uint64_t> fileSize(const std::string &path) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (GetFileAttributesExW(toWide(path).c_str(), GetFileExInfoStandard, &data) == 0 ||
        (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        return std::nullopt;
    }
    return (static_cast<uint64_t>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
}

std::vector<uint8_t> readWholeFile(const std::string &path, size_t limit) {
    InputFile file(path);
    std::vector<char> bytes(limit + 1);
    bytes.resize(file.read(bytes));
    if (bytes.size() > limit) {
        throw CommandFailure(path + " is larger than " + std::to_string(limit) + " bytes");
    }
    return {bytes.begin(), bytes.end()};
}

std::string_view fileNameOf(std::string_view path) {
    return path.substr(path.find_last_of("\\/") + 1);
}

std::string_view folderOf(std::string_view path) {
    return path.substr(0, path.find_last_of("\\/") + 1);
}

} // namespace tool
