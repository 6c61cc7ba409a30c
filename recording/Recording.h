/// Reads a recording, either event by event or complete with its calls and callbacks.
#pragma once

#include "recording/RecordLine.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace recording {

/// Takes the lines of a recording in order. Errors name the number of the line. A last line that is not JSON is not an
/// error: a killed process leaves one, and all lines before it are used.
class RecordingParser {
  public:
    using Sink = std::function<void(const RecordEvent &event)>;

    explicit RecordingParser(Sink sink) : sink_(std::move(sink)) {}

    /// @throws RecordingError
    void add(std::string_view line);
    /// Call it after the last line. @throws RecordingError if there was no line
    void finish() const;

    [[nodiscard]] const RecordingHeader &header() const noexcept { return header_; }
    /// "line 12: the line is cut off or damaged" if the last line is incomplete; otherwise nothing.
    [[nodiscard]] const std::optional<std::string> &cutOff() const noexcept { return broken_; }

  private:
    Sink sink_;
    RecordingHeader header_;
    size_t lineNumber_ = 0;
    std::optional<std::string> broken_;
};

struct RecordedCall {
    RecordEvent begin;
    std::optional<RecordEvent> end;             ///< nothing: the recording ends during the call
    std::map<std::string, std::string> outputs; ///< large outputs by name, assembled from their chunks
    size_t beginPlace = 0;                      ///< index among all events of the recording
    size_t endPlace = 0;
};

struct RecordedCallback {
    RecordEvent begin;
    std::optional<RecordEvent> end;
    std::map<std::string, std::string> arguments; ///< as RecordedCall::outputs
    size_t beginPlace = 0;
    size_t endPlace = 0;
};

struct Recording {
    RecordingHeader header;
    std::vector<RecordEvent> loads;
    std::vector<RecordedCall> calls;         ///< in the order in which they were made
    std::vector<RecordedCallback> callbacks; ///< in the order in which they were made
    std::optional<std::string> cutOff;       ///< as RecordingParser
};

/// Assembles a complete recording. Contents of large input buffers are not kept, only their length and hash.
class RecordingReader {
  public:
    RecordingReader() : parser_([this](const RecordEvent &event) { take(event); }) {}
    RecordingReader(const RecordingReader &) = delete;
    RecordingReader &operator=(const RecordingReader &) = delete;

    /// @throws RecordingError
    void add(std::string_view line) { parser_.add(line); }
    /// @throws RecordingError
    [[nodiscard]] Recording finish();

  private:
    void take(const RecordEvent &event);

    Recording recording_;
    size_t place_ = 0;
    std::map<uint64_t, size_t> openCalls_;
    std::map<uint64_t, size_t> openCallbacks_;
    std::map<uint64_t, std::map<std::string, std::string>> pieces_; ///< by call
    RecordingParser parser_;
};

} // namespace recording
