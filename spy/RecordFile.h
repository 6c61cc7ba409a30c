/// The file that this process's recording goes to.
#pragma once

#include "recording/RecordLine.h"
#include "spy/SpySettings.h"

#include <windows.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace spy {

/// Opened with the first line, as PROGRAM-DATE-TIME-PROCESS.jsonl. Each line is one write at the end of the file, so
/// that it is whole and there even when the process is ended by force right behind it. A file that cannot be opened or
/// written is told of once, to the debugger, and ends the recording.
///
/// It is never closed: it belongs to the process, which calls the service until its very end.
class RecordFile {
  public:
    explicit RecordFile(SpySettings settings) : settings_(std::move(settings)) {}
    RecordFile(const RecordFile &) = delete;
    RecordFile &operator=(const RecordFile &) = delete;

    /// Under the recorder's lock.
    void write(std::string line, const std::wstring &service);
    [[nodiscard]] bool hasFailed() const noexcept { return hasFailed_; }
    void fail(const char *what) noexcept;

  private:
    bool open(const std::wstring &service);
    bool append(const std::string &line);

    const SpySettings settings_;
    HANDLE file_ = INVALID_HANDLE_VALUE;
    bool hasFailed_ = false;
};

/// Microseconds since the recording began.
[[nodiscard]] int64_t recordingTime() noexcept;

/// UTF-8.
[[nodiscard]] std::string narrowText(std::wstring_view text);

/// The file of a module; the program's for null.
[[nodiscard]] std::wstring moduleFile(HMODULE module);

} // namespace spy
