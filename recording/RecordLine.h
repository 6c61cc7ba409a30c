/// The lines of a recording: a header, then one JSON object per line for each event.
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

/// The text is not a recording, or cannot be used. The message names the place and the reason.
class RecordingError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The line is not even JSON. A recording may end with such a line, cut off.
class BrokenLine : public RecordingError {
  public:
    using RecordingError::RecordingError;
};

/// The first line: the process and the library that were recorded.
struct RecordingHeader {
    uint32_t process = 0;
    std::string program; ///< the application's file
    std::string service; ///< the file of the service's library
    std::string started; ///< UTC, "2012-03-05T14:07:09.123456Z"
    bool redacted = false;
};

enum class EventKind {
    load,          ///< the service's library was loaded; says which entry points it lacks
    unload,        ///< the service's library is about to be freed
    bytes,         ///< a chunk of a large buffer; written before the line that describes the buffer
    call,          ///< an entry point was called
    callReturn,    ///< it returned
    callback,      ///< the service called the client
    callbackReturn ///< the client returned
};

struct RecordEvent {
    EventKind kind = EventKind::call;
    uint64_t number = 0; ///< of the call or callback, the same in all its lines
    int64_t time = 0;    ///< microseconds since the recording began
    uint32_t thread = 0;
    std::string entryPoint;            ///< call, callReturn
    std::optional<uint64_t> within;    ///< callback, call: number of the enclosing call or callback on the same thread
    uint32_t callback = 0;             ///< callback: which of the client's functions, as the call's argument names it
    std::string callbackKind;          ///< callback: as callbackName
    Json values = Json::object();      ///< call, callback: arguments; callReturn: outputs; load: names that are missing
    uint32_t result = 0;               ///< callReturn, callbackReturn
    std::optional<uint32_t> lastError; ///< callReturn: after a failure
    bool raised = false;               ///< callReturn, callbackReturn: ended by an exception, so there is no result
    std::string argument;              ///< bytes: the buffer's name
    bool isOutput = false;             ///< bytes: the buffer's content after the call
    uint64_t offset = 0;               ///< bytes
    std::string hex;                   ///< bytes
};

/// These return one line without a line end.
[[nodiscard]] std::string composeHeader(const RecordingHeader &header);
[[nodiscard]] std::string composeLine(const RecordEvent &event);

/// @throws RecordingError  if the line is not a header
[[nodiscard]] RecordingHeader parseHeader(std::string_view line);
/// @throws BrokenLine      if the line is not JSON
/// @throws RecordingError  if it is not a line of a recording, or names an entry point that comc.dll does not have
[[nodiscard]] RecordEvent parseLine(std::string_view line);

/// Two lower-case digits per byte.
[[nodiscard]] std::string hexadecimal(const void *bytes, size_t count);
/// @throws RecordingError  if the text does not consist of pairs of digits
[[nodiscard]] std::string bytesOf(std::string_view hex);

} // namespace recording
