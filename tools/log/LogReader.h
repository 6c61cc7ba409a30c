/// Reads the log file as a stream of lines. The file may have any size and may grow.
#pragma once

#include "tools/text/LineSplitter.h"

#include <windows.h>

#include <chrono>
#include <string>

namespace tool {

/// Passes every line in the file to the sink, in UTF-8. Ends the command if the file does not exist.
void readLog(const std::string &path, const LineSplitter::Sink &sink);

/// When to stop waiting for further lines.
struct FollowEnd {
    std::chrono::steady_clock::time_point deadline;
    HANDLE stop; ///< an event
};

/// Like readLog, then passes every line that is added. Waits for a file that does not exist yet. If the file is
/// deleted, renamed or truncated, continues with the file that then has its name. Calls afterBatch after each batch.
void followLog(const std::string &path, const LineSplitter::Sink &sink, const std::function<void()> &afterBatch,
               const FollowEnd &end);

} // namespace tool
