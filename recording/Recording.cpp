#include "recording/Recording.h"

#include "comc/EntryPoints.h"

#include <algorithm>
#include <utility>

namespace recording {

namespace {

bool isOutput(const std::string &entryPoint, const std::string &argument) {
    const auto arguments = comc::findEntryPoint(entryPoint)->arguments();
    return std::any_of(arguments.begin(), arguments.end(), [&](const comc::Argument &each) {
        return each.name == argument && each.kind == comc::ArgumentKind::outputBytes;
    });
}

} // namespace

void RecordingParser::add(std::string_view line) {
    ++lineNumber_;
    if (broken_) {
        throw RecordingError(*broken_); // the broken line was not the last one
    }
    const auto place = "line " + std::to_string(lineNumber_) + ": ";
    try {
        if (lineNumber_ == 1) {
            header_ = parseHeader(line);
        } else {
            sink_(parseLine(line));
        }
    } catch (const BrokenLine &error) {
        broken_ = place + error.what();
    } catch (const RecordingError &error) {
        throw RecordingError(lineNumber_ == 1 ? error.what() : place + error.what());
    }
}

void RecordingParser::finish() const {
    if (lineNumber_ == 0) {
        throw RecordingError("the file is empty");
    }
}

void RecordingReader::take(const RecordEvent &event) {
    if (event.kind == EventKind::bytes) {
        // The chunks precede the line of their call. Only those of callbacks and outputs are kept.
        auto &bytes = pieces_[event.number][event.argument];
        if (event.argument == "alert" || event.isOutput) {
            if (bytes.size() != event.offset) {
                throw RecordingError("a piece of \"" + event.argument + "\" is missing before this one");
            }
            bytes += bytesOf(event.hex);
        }
        return;
    }
    const auto place = place_++;
    auto pieces = pieces_.extract(event.number);
    auto taken = pieces.empty() ? std::map<std::string, std::string>() : std::move(pieces.mapped());
    const auto endOf = [&](auto &open, const char *what) {
        const auto found = open.extract(event.number);
        if (found.empty()) {
            throw RecordingError(std::string("the ") + what + " to which this belongs is not in the recording");
        }
        return found.mapped();
    };
    switch (event.kind) {
    case EventKind::load:
        recording_.loads.push_back(event);
        break;
    case EventKind::call:
        openCalls_[event.number] = recording_.calls.size();
        recording_.calls.push_back({event, std::nullopt, {}, place, place});
        break;
    case EventKind::callReturn: {
        auto &call = recording_.calls[endOf(openCalls_, "call")];
        std::erase_if(taken, [&](const auto &each) { return !isOutput(call.begin.entryPoint, each.first); });
        call.outputs = std::move(taken);
        call.end = event;
        call.endPlace = place;
        break;
    }
    case EventKind::callback:
        openCallbacks_[event.number] = recording_.callbacks.size();
        recording_.callbacks.push_back({event, std::nullopt, std::move(taken), place, place});
        break;
    case EventKind::callbackReturn: {
        auto &callback = recording_.callbacks[endOf(openCallbacks_, "callback")];
        callback.end = event;
        callback.endPlace = place;
        break;
    }
    case EventKind::unload:
    case EventKind::bytes:
        break;
    }
}

Recording RecordingReader::finish() {
    parser_.finish();
    recording_.header = parser_.header();
    recording_.cutOff = parser_.cutOff();
    return std::move(recording_);
}

} // namespace recording
