#include "recording/RecordLine.h"

#include "comc/EntryPoints.h"
#include "platform/Hexadecimal.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace recording {

namespace {

constexpr std::string_view recordingName = "comc.dll";
constexpr int recordingFormat = 1;

/// A century in microseconds. Recordings are shorter, and such times can be subtracted and converted without overflow.
constexpr uint64_t latestTime = 100ull * 365 * 24 * 3600 * 1'000'000;

struct KindRow {
    EventKind kind;
    std::string_view name;
    std::string_view values; // the key of its values
};

constexpr KindRow kinds[] = {
    {EventKind::load, "load", "missing"},
    {EventKind::unload, "unload", ""},
    {EventKind::bytes, "bytes", ""},
    {EventKind::call, "call", "arguments"},
    {EventKind::callReturn, "return", "outputs"},
    {EventKind::callback, "callback", "arguments"},
    {EventKind::callbackReturn, "callbackReturn", ""},
};

const KindRow &rowOf(EventKind kind) {
    return *std::find_if(std::begin(kinds), std::end(kinds), [kind](const KindRow &row) { return row.kind == kind; });
}

std::string dump(const Json &json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Json parseObject(std::string_view line) {
    auto json = Json::parse(line.begin(), line.end(), nullptr, false);
    if (json.is_discarded()) {
        throw BrokenLine("the line is cut off or damaged");
    }
    if (!json.is_object()) {
        throw RecordingError("the line is no object");
    }
    return json;
}

bool isNumber(const Json &json, uint64_t most = std::numeric_limits<uint32_t>::max()) {
    return json.is_number_unsigned() && json.get<uint64_t>() <= most;
}

/// Whether the string looks like a variable name. Names of arguments and buffers are shown without quoting.
bool isName(const std::string &text) {
    constexpr std::string_view characters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_";
    return !text.empty() && text.find_first_not_of(characters) == std::string::npos;
}

/// Bytes, a hash or an address.
bool isHexadecimal(const Json &json) {
    return json.is_string() &&
           json.get_ref<const std::string &>().find_first_not_of(kal::lowerHexadecimalDigits) == std::string::npos;
}

bool isHexadecimalOf(const Json &json, const Json &byteCount) {
    return isHexadecimal(json) && isNumber(byteCount) &&
           json.get_ref<const std::string &>().size() == byteCount.get<uint64_t>() * 2;
}

/// Whether the value has a form that Capture writes, so that readers need no further checks.
bool isValue(const Json &value) {
    if (!value.is_object()) {
        return value.is_null() || value.is_string() || isNumber(value);
    }
    return std::all_of(value.items().begin(), value.items().end(), [&](const auto &member) {
        const auto &name = member.key();
        const auto &content = member.value();
        if (name == "hex") {
            return isHexadecimalOf(content, value.value("length", Json()));
        }
        if (name == "sha256" || name == "address") {
            return isHexadecimal(content);
        }
        if (name == "length" || name == "pieces" || name == "callback") {
            return isNumber(content);
        }
        return name == "output" && content.is_boolean();
    });
}

/// A required member of the given type.
template <class Type>
Type require(const Json &json, const char *key) {
    const auto found = json.find(key);
    const bool fits = found != json.end() && [&] {
        if constexpr (std::is_same_v<Type, std::string>) {
            return found->is_string();
        } else if constexpr (std::is_same_v<Type, bool>) {
            return found->is_boolean();
        } else {
            return isNumber(*found, static_cast<uint64_t>(std::numeric_limits<Type>::max()));
        }
    }();
    if (!fits) {
        throw RecordingError(std::string("the line has no \"") + key + "\", or one of the wrong type");
    }
    return found->template get<Type>();
}

template <class Type>
std::optional<Type> find(const Json &json, const char *key) {
    return json.contains(key) ? std::optional(require<Type>(json, key)) : std::nullopt;
}

Json valuesOf(const Json &json, const KindRow &row) {
    const auto found = json.find(std::string(row.values));
    const bool isList = row.kind == EventKind::load;
    if (found == json.end() || !(isList ? found->is_array() : found->is_object())) {
        throw RecordingError("the line has no \"" + std::string(row.values) + "\", or one of the wrong type");
    }
    for (const auto &item : found->items()) {
        if (isList ? !item.value().is_string() : !isName(item.key()) || !isValue(item.value())) {
            throw RecordingError("there is no value like " + dump(item.key()) + " of the line's \"" +
                                 std::string(row.values) + "\"");
        }
    }
    return *found;
}

void requireEntryPoint(const std::string &name) {
    if (comc::findEntryPoint(name) == nullptr) {
        throw RecordingError("comc.dll has no entry point " + dump(name));
    }
}

void requireCallback(const std::string &kind) {
    constexpr comc::ArgumentKind known[] = {comc::ArgumentKind::enumCallback, comc::ArgumentKind::alertCallback,
                                            comc::ArgumentKind::notificationCallback};
    if (std::none_of(std::begin(known), std::end(known),
                     [&](comc::ArgumentKind each) { return comc::callbackName(each) == kind; })) {
        throw RecordingError("there is no callback " + dump(kind));
    }
}

} // namespace

std::string hexadecimal(const void *bytes, size_t count) {
    const auto *const begin = static_cast<const unsigned char *>(bytes);
    std::string text;
    text.reserve(count * 2);
    std::for_each(begin, begin + count,
                  [&](unsigned char byte) { kal::appendHexadecimal(text, byte, kal::lowerHexadecimalDigits); });
    return text;
}

std::string bytesOf(std::string_view hex) {
    const auto digit = [](char character) {
        const auto value = kal::lowerHexadecimalDigits.find(character);
        if (value == std::string_view::npos) {
            throw RecordingError("bytes are pairs of hexadecimal digits");
        }
        return static_cast<unsigned>(value);
    };
    if (hex.size() % 2 != 0) {
        throw RecordingError("bytes are pairs of hexadecimal digits");
    }
    std::string bytes;
    bytes.reserve(hex.size() / 2);
    for (size_t index = 0; index < hex.size(); index += 2) {
        bytes += static_cast<char>(digit(hex[index]) << 4 | digit(hex[index + 1]));
    }
    return bytes;
}

std::string composeHeader(const RecordingHeader &header) {
    return dump({{"recording", recordingName},
                 {"format", recordingFormat},
                 {"process", header.process},
                 {"program", header.program},
                 {"service", header.service},
                 {"started", header.started},
                 {"redacted", header.redacted}});
}

std::string composeLine(const RecordEvent &event) {
    const KindRow &row = rowOf(event.kind);
    Json json{{"event", row.name}, {"number", event.number}};
    if (event.kind == EventKind::bytes) {
        json["argument"] = event.argument;
        json["output"] = event.isOutput;
        json["offset"] = event.offset;
        json["hex"] = event.hex;
        return dump(json);
    }
    json["time"] = event.time;
    json["thread"] = event.thread;
    if (!event.entryPoint.empty()) {
        json["entryPoint"] = event.entryPoint;
    }
    if (event.within) {
        json["within"] = *event.within;
    }
    if (event.kind == EventKind::callback) {
        json["callback"] = event.callback;
        json["kind"] = event.callbackKind;
    }
    if (event.kind == EventKind::callReturn || event.kind == EventKind::callbackReturn) {
        if (event.raised) {
            json["raised"] = true;
        } else {
            json["result"] = event.result;
        }
        if (event.lastError) {
            json["lastError"] = *event.lastError;
        }
    }
    if (!row.values.empty()) {
        json[std::string(row.values)] = event.values;
    }
    return dump(json);
}

RecordingHeader parseHeader(std::string_view line) {
    const auto json = Json::parse(line.begin(), line.end(), nullptr, false);
    if (!json.is_object() || !json.contains("recording") || json["recording"] != recordingName) {
        throw RecordingError("this is no recording of the spy");
    }
    if (const auto format = require<int>(json, "format"); format != recordingFormat) {
        throw RecordingError("the recording has format " + std::to_string(format) + ", known is " +
                             std::to_string(recordingFormat));
    }
    RecordingHeader header;
    header.process = require<uint32_t>(json, "process");
    header.program = require<std::string>(json, "program");
    header.service = require<std::string>(json, "service");
    header.started = require<std::string>(json, "started");
    header.redacted = require<bool>(json, "redacted");
    return header;
}

RecordEvent parseLine(std::string_view line) {
    const auto json = parseObject(line);
    const auto name = require<std::string>(json, "event");
    const auto *const row =
        std::find_if(std::begin(kinds), std::end(kinds), [&](const KindRow &each) { return each.name == name; });
    if (row == std::end(kinds)) {
        throw RecordingError("there is no event " + dump(name));
    }
    RecordEvent event;
    event.kind = row->kind;
    event.number = require<uint64_t>(json, "number");
    if (event.kind == EventKind::bytes) {
        event.argument = require<std::string>(json, "argument");
        if (!isName(event.argument)) {
            throw RecordingError("there is no buffer " + dump(event.argument));
        }
        event.isOutput = require<bool>(json, "output");
        event.offset = require<uint64_t>(json, "offset");
        event.hex = require<std::string>(json, "hex");
        return event;
    }
    event.time = require<int64_t>(json, "time");
    if (static_cast<uint64_t>(event.time) > latestTime) {
        throw RecordingError("the line's \"time\" is later than any recording lasts");
    }
    event.thread = require<uint32_t>(json, "thread");
    event.within = find<uint64_t>(json, "within");
    if (event.kind == EventKind::call || event.kind == EventKind::callReturn) {
        event.entryPoint = require<std::string>(json, "entryPoint");
        requireEntryPoint(event.entryPoint);
    }
    if (event.kind == EventKind::callback) {
        event.callback = require<uint32_t>(json, "callback");
        event.callbackKind = require<std::string>(json, "kind");
        requireCallback(event.callbackKind);
    }
    if (event.kind == EventKind::callReturn || event.kind == EventKind::callbackReturn) {
        event.raised = find<bool>(json, "raised").value_or(false);
        event.result = event.raised ? 0 : require<uint32_t>(json, "result");
        event.lastError = find<uint32_t>(json, "lastError");
    }
    if (!row->values.empty()) {
        event.values = valuesOf(json, *row);
    }
    return event;
}

} // namespace recording
