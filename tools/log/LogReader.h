/// The log file as a stream of lines, of any size and while it grows.
#pragma once

#include "tools/text/LineSplitter.h"

#include <windows.h>

#include <chrono>
#include <string>

namespace tool {

/// Every line that is in the file now, in UTF-8. Ends the command when there is no such file.
void readLog(const std::string &path, const LineSplitter::Sink &sink);

/// How long to go on after the end of the file was reached.
struct FollowEnd {
    std::chrono::steady_clock::time_point deadline;
    HANDLE stop; ///< an event
};

/// As readLog, then every line that is added, also to a file that was deleted, renamed or cut meanwhile: what stands
/// under its name is read. A file that is not there yet is waited for. afterBatch runs when all lines so far were read.
void followLog(const std::string &path, const LineSplitter::Sink &sink, const std::function<void()> &afterBatch,
               const FollowEnd &end);

} // namespace tool
