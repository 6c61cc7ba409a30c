/// A recording read back: event by event, or whole with its calls put together.
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

/// Takes the lines of a recording in order. What is wrong with a line is raised with the line's number before it, but
/// for a last line that is cut off: a process that is ended by force leaves one, and everything before it counts.
class RecordingParser {
  public:
    using Sink = std::function<void(const RecordEvent &event)>;

    explicit RecordingParser(Sink sink) : sink_(std::move(sink)) {}

    /// @throws RecordingError
    void add(std::string_view line);
    /// After the last line. @throws RecordingError when there was not even a header
    void finish() const;

    [[nodiscard]] const RecordingHeader &header() const noexcept { return header_; }
    /// "line 12: the line is cut off or damaged", when the last line is.
    [[nodiscard]] const std::optional<std::string> &cutOff() const noexcept { return broken_; }

  private:
    Sink sink_;
    RecordingHeader header_;
    size_t lineNumber_ = 0;
    std::optional<std::string> broken_;
};

struct RecordedCall {
    RecordEvent begin;
    std::optional<RecordEvent> end;             ///< none: the recording ends within the call
    std::map<std::string, std::string> outputs; ///< large outputs by name, put together from their pieces
    size_t beginPlace = 0;                      ///< among all events of the recording
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
    std::vector<RecordedCallback> callbacks; ///< likewise
    std::optional<std::string> cutOff;       ///< as RecordingParser
};

/// Puts a whole recording together. Of large buffers that are not answers only length and hash are kept.
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
