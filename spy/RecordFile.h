/// The recording of this process.
#pragma once

#include "recording/RecordLine.h"
#include "spy/SpySettings.h"

#include <windows.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace spy {

/// Created with the first line, as PROGRAM-DATE-TIME-PROCESS.jsonl. Each line is appended with a single write, so that
/// it is complete even if the process is killed immediately afterwards. A failure to open or write is reported once, to
/// the debugger, and ends the recording.
///
/// The file is never closed, because the process may call the service until it exits.
class RecordFile {
  public:
    explicit RecordFile(SpySettings settings) : settings_(std::move(settings)) {}
    RecordFile(const RecordFile &) = delete;
    RecordFile &operator=(const RecordFile &) = delete;

    /// The caller must hold the recorder's lock.
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

/// Microseconds since the first call, which is made when the file is created.
[[nodiscard]] int64_t recordingTime() noexcept;

/// Converts to UTF-8.
[[nodiscard]] std::string narrowText(std::wstring_view text);

/// The path of a module's file; null means the program.
[[nodiscard]] std::wstring moduleFile(HMODULE module);

} // namespace spy
