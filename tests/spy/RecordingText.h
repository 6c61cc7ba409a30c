// Recordings for tests.
#pragma once

#include "recording/Recording.h"

#include <string>
#include <vector>

namespace kal::test {

using recording::Json;

/// Composes the lines of a recording. Each event is one millisecond later than the previous one.
class RecordingText {
  public:
    explicit RecordingText(bool redacted = false)
        : lines{recording::composeHeader({1, "app.exe", "comc-real.dll", "2012-03-05T14:07:09.000000Z", redacted})} {}

    uint64_t call(const std::string &entryPoint, Json arguments) {
        auto event = next(recording::EventKind::call, ++number_);
        event.entryPoint = entryPoint;
        event.values = std::move(arguments);
        if (!within.empty()) {
            event.within = within.back();
        }
        add(event);
        return event.number;
    }
    void answer(uint64_t number, const std::string &entryPoint, uint32_t result, Json outputs = Json::object()) {
        auto event = next(recording::EventKind::callReturn, number);
        event.entryPoint = entryPoint;
        event.result = result;
        if (result != 0) {
            event.lastError = 5;
        }
        event.values = std::move(outputs);
        add(event);
    }
    /// A call and its return.
    void whole(const std::string &entryPoint, Json arguments, uint32_t result = 0, Json outputs = Json::object()) {
        answer(call(entryPoint, std::move(arguments)), entryPoint, result, std::move(outputs));
    }
    /// A callback and its return; made during the call inCall, if given.
    void callback(const std::string &kind, uint32_t function, Json arguments, uint32_t result = 0,
                  std::optional<uint64_t> inCall = {}) {
        auto event = next(recording::EventKind::callback, ++number_);
        event.callback = function;
        event.callbackKind = kind;
        event.values = std::move(arguments);
        event.within = inCall;
        add(event);
        auto end = next(recording::EventKind::callbackReturn, event.number);
        end.result = result;
        add(end);
    }
    void load(Json missing = Json::array()) {
        auto event = next(recording::EventKind::load, ++number_);
        event.values = std::move(missing);
        add(event);
    }

    [[nodiscard]] recording::Recording read() const {
        recording::RecordingReader reader;
        for (const auto &line : lines) {
            reader.add(line);
        }
        return reader.finish();
    }
    [[nodiscard]] std::string text() const {
        std::string all;
        for (const auto &line : lines) {
            all += line + "\n";
        }
        return all;
    }

    std::vector<std::string> lines;
    std::vector<uint64_t> within;
    uint32_t thread = 9;

  private:
    recording::RecordEvent next(recording::EventKind kind, uint64_t number) {
        recording::RecordEvent event;
        event.kind = kind;
        event.number = number;
        event.thread = thread;
        event.time = time_ += 1000;
        return event;
    }
    void add(const recording::RecordEvent &event) { lines.push_back(recording::composeLine(event)); }

    uint64_t number_ = 0;
    int64_t time_ = 0;
};

/// The arguments of OrxOpenPrinter and similar functions.
inline Json handleOf(int handle, int client = 100) {
    return {{"clientId", client}, {"handle", handle}};
}

} // namespace kal::test
