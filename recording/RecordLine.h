/// The lines of a recording: a header, then one JSON object a line for everything that happened.
#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace recording {

using Json = nlohmann::ordered_json;

/// A text that is no recording, or not one that can be used; the message tells where and why.
class RecordingError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// A line that is not even JSON: the last one of a recording may be cut off.
class BrokenLine : public RecordingError {
  public:
    using RecordingError::RecordingError;
};

/// The first line: whose recording it is.
struct RecordingHeader {
    uint32_t process = 0;
    std::string program; ///< the application's file
    std::string service; ///< the file of the service's library
    std::string started; ///< UTC, "2012-03-05T14:07:09.123456Z"
    bool redacted = false;
};

enum class EventKind {
    load,          ///< the service's library was loaded; says which entry points it lacks
    unload,        ///< it is about to be given back
    bytes,         ///< a piece of a large buffer of a call, before the line that tells of the buffer
    call,          ///< an entry point was called
    callReturn,    ///< and answered
    callback,      ///< the service called the client
    callbackReturn ///< and the client answered
};

struct RecordEvent {
    EventKind kind = EventKind::call;
    uint64_t number = 0; ///< of the call or callback, the same in all its lines
    int64_t time = 0;    ///< microseconds since the recording began
    uint32_t thread = 0;
    std::string entryPoint;            ///< call, callReturn
    std::optional<uint64_t> within;    ///< callback, call: the call or callback on the same thread that it happened in
    uint32_t callback = 0;             ///< callback: which of the client's functions, as the call's argument names it
    std::string callbackKind;          ///< callback: as callbackName
    Json values = Json::object();      ///< call, callback: arguments; callReturn: outputs; load: names that are missing
    uint32_t result = 0;               ///< callReturn, callbackReturn
    std::optional<uint32_t> lastError; ///< callReturn: after a failure
    bool raised = false;               ///< callReturn, callbackReturn: left by an exception, there is no result
    std::string argument;              ///< bytes: the buffer's name
    bool isOutput = false;             ///< bytes: of the buffer after the call
    uint64_t offset = 0;               ///< bytes
    std::string hex;                   ///< bytes
};

/// One line without its end.
[[nodiscard]] std::string composeHeader(const RecordingHeader &header);
[[nodiscard]] std::string composeLine(const RecordEvent &event);

/// @throws RecordingError  when the line is no header
[[nodiscard]] RecordingHeader parseHeader(std::string_view line);
/// @throws BrokenLine      when the line is no JSON
/// @throws RecordingError  when it is none of a recording, or names an entry point that comc.dll does not have
[[nodiscard]] RecordEvent parseLine(std::string_view line);

/// Two lower-case digits a byte.
[[nodiscard]] std::string hexadecimal(const void *bytes, size_t count);
/// @throws RecordingError  when the text is not made of pairs of digits
[[nodiscard]] std::string bytesOf(std::string_view hex);

} // namespace recording
