#include "tools/spy/SpyView.h"

#include "tools/text/HexText.h"
#include "tools/text/JsonText.h"
#include "tools/text/NumberText.h"

#include <cstdio>
#include <span>

namespace tool {

namespace {

using recording::EventKind;
using recording::Json;
using recording::RecordEvent;

std::string describeBytes(const Json &value) {
    constexpr size_t mostShown = 24;
    const auto text = "[" + value["length"].dump() + " bytes";
    if (!value.contains("hex")) {
        return text + ", SHA-256 " + value["sha256"].get<std::string>().substr(0, 12) + "...]";
    }
    const auto bytes = recording::bytesOf(value["hex"].get<std::string>().substr(0, mostShown * 2));
    const auto *const begin = reinterpret_cast<const uint8_t *>(bytes.data());
    return text + (bytes.empty() ? "" : ": " + hexBytes(std::span(begin, bytes.size()))) +
           (value["length"] > mostShown ? " ...]" : "]");
}

std::string describeValue(const std::string &name, const Json &value) {
    if (value.is_number_unsigned() && (name == "handle" || name == "mask")) {
        return hexNumber(value.get<uint32_t>(), 4);
    }
    if (value.is_object() && value.contains("output")) {
        return "(output)";
    }
    if (value.is_object() && value.contains("callback")) {
        return "#" + value["callback"].dump();
    }
    if (value.is_object() && value.contains("length") && (value.contains("hex") || value.contains("sha256"))) {
        return describeBytes(value);
    }
    return jsonLine(value);
}

std::string timeText(int64_t microseconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%5lld.%06lld", static_cast<long long>(microseconds / 1'000'000),
                  static_cast<long long>(microseconds % 1'000'000));
    return text;
}

bool isBegin(EventKind kind) {
    return kind == EventKind::call || kind == EventKind::callback;
}

bool isEnd(EventKind kind) {
    return kind == EventKind::callReturn || kind == EventKind::callbackReturn;
}

/// The name of a call; kind and number of a callback, as in the arguments of the call that registered it.
std::string nameOf(const RecordEvent &event) {
    return event.kind == EventKind::callback ? event.callbackKind + "#" + std::to_string(event.callback)
                                             : event.entryPoint;
}

bool isWanted(const SpyFilter &filter, const RecordEvent &event) {
    const bool isOnThread = !filter.thread || *filter.thread == event.thread;
    return isOnThread && (filter.entryPoint.empty() || filter.entryPoint == event.entryPoint);
}

std::string answerText(const RecordEvent &event) {
    if (event.raised) {
        return " left by an exception";
    }
    auto text = " = " + std::to_string(event.result);
    if (event.lastError) {
        text += ", last error " + std::to_string(*event.lastError);
    }
    return text + (event.values.empty() ? "" : "  " + describeValues(event.values));
}

} // namespace

std::string describeValues(const Json &values) {
    std::string text;
    for (const auto &[name, value] : values.items()) {
        text += (text.empty() ? "" : ", ") + name + "=" + describeValue(name, value);
    }
    return text;
}

std::string SpyView::show(const RecordEvent &event) {
    if (event.kind == EventKind::bytes) {
        return {};
    }
    auto &stack = open_[event.thread];
    if (isEnd(event.kind) && !stack.empty()) {
        stack.pop_back();
    }
    const std::string indentation(stack.size() * 2, ' ');
    const auto lineOf = [&](const RecordEvent &shown, const std::string &text) {
        return timeText(shown.time) + "  " + hexNumber(shown.thread, 4) + "  " + indentation + text + "\n";
    };
    const auto beginText = [](const RecordEvent &begin) {
        return "+" + nameOf(begin) + "(" + describeValues(begin.values) + ")";
    };
    std::string line;
    if (isBegin(event.kind)) {
        stack.push_back(event.number);
        if (event.kind == EventKind::callback) {
            callbackNames_[event.number] = nameOf(event);
        }
        if (filter_.failures) {
            held_[event.number] = event;
        } else if (isWanted(filter_, event)) {
            line = lineOf(event, beginText(event));
        }
    } else if (isEnd(event.kind)) {
        const auto callback = callbackNames_.extract(event.number);
        const auto held = held_.extract(event.number);
        const bool isFailure = event.kind == EventKind::callReturn && (event.raised || event.result != 0);
        if (isWanted(filter_, event) && (!filter_.failures || isFailure)) {
            line = held.empty() ? "" : lineOf(held.mapped(), beginText(held.mapped()));
            line += lineOf(event, "-" + (callback.empty() ? event.entryPoint : callback.mapped()) + answerText(event));
        }
    } else if (filter_.entryPoint.empty() && !filter_.failures && isWanted(filter_, event)) {
        const bool isLoad = event.kind == EventKind::load;
        line = lineOf(event, isLoad ? "loaded" : "unloading");
        if (isLoad && !event.values.empty()) {
            line.insert(line.size() - 1, ", without " + jsonLine(event.values));
        }
    }
    if (stack.empty()) {
        open_.erase(event.thread);
    }
    return line;
}

Json SpyObjects::add(const RecordEvent &event) {
    if (isBegin(event.kind)) {
        open_[event.number] = event;
        return nullptr;
    }
    if (!isEnd(event.kind)) {
        return nullptr;
    }
    const auto begin = open_.extract(event.number);
    const bool isFailure = event.kind == EventKind::callReturn && (event.raised || event.result != 0);
    if (begin.empty() || !isWanted(filter_, begin.mapped()) || (filter_.failures && !isFailure)) {
        return nullptr;
    }
    const auto &call = begin.mapped();
    Json object{{"number", call.number},
                {"time", call.time},
                {"duration", event.time - call.time},
                {"thread", call.thread},
                {call.kind == EventKind::call ? "entryPoint" : "callback", nameOf(call)}};
    if (call.within) {
        object["within"] = *call.within;
    }
    object["arguments"] = call.values;
    if (event.raised) {
        object["raised"] = true;
    } else {
        object["result"] = event.result;
    }
    if (event.lastError) {
        object["lastError"] = *event.lastError;
    }
    if (call.kind == EventKind::call) {
        object["outputs"] = event.values;
    }
    return object;
}

std::vector<Json> SpyObjects::finish() const {
    std::vector<Json> objects;
    for (const auto &[number, call] : open_) {
        if (isWanted(filter_, call) && !filter_.failures) {
            objects.push_back({{"number", number},
                               {"time", call.time},
                               {"thread", call.thread},
                               {call.kind == EventKind::call ? "entryPoint" : "callback", nameOf(call)},
                               {"arguments", call.values},
                               {"unfinished", true}});
        }
    }
    return objects;
}

} // namespace tool
