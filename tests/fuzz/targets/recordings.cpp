// Any text as a recording of the spy: shown and compared as `kal spy` does it, and made to the plan of a replay.
#include "simulator/replay/ReplayPlan.h"
#include "tests/fuzz/Input.h"
#include "tools/spy/SpyDiff.h"
#include "tools/spy/SpyTimeline.h"
#include "tools/spy/SpyView.h"
#include "tools/text/JsonText.h"
#include "tools/text/LineSplitter.h"

#include <optional>
#include <sstream>
#include <tuple>

namespace {

std::string withPieces(const std::string &input) {
    std::string text;
    for (const char character : input) {
        switch (character) {
#define RECORDING_PIECE(byte, piece)                                                                                   \
    case byte:                                                                                                         \
        text += piece;                                                                                                 \
        break;
#include "tests/fuzz/targets/RecordingPieces.inc"
#undef RECORDING_PIECE
        default:
            text += character;
        }
    }
    return text;
}

bool isPrintable(std::string_view line) {
    return std::ranges::none_of(line, [](char character) { return static_cast<unsigned char>(character) < ' '; });
}

/// Lines with their ends, and nothing that would end one early or move the cursor.
std::vector<std::string> linesOf(std::string_view shown) {
    std::vector<std::string> lines;
    fuzz::require(shown.empty() || shown.ends_with('\n'), "what is shown ends its line");
    while (!shown.empty()) {
        lines.emplace_back(shown.substr(0, shown.find('\n')));
        fuzz::require(isPrintable(lines.back()), "a line is made of what can be printed");
        shown.remove_prefix(lines.back().size() + 1);
    }
    return lines;
}

/// Hands the lines of a recording to `take` as the tool does. @return what was wrong
template <class Take>
std::string read(const std::string &text, Take take) {
    try {
        tool::LineSplitter lines(take);
        lines.feed(text);
        lines.finish();
    } catch (const recording::RecordingError &error) {
        fuzz::require(isPrintable(error.what()) && *error.what() != '\0', "an error is one line");
        return error.what();
    }
    return {};
}

void checkObject(const recording::Json &object) {
    const std::string line = tool::jsonLine(object);
    fuzz::require(nlohmann::json::accept(line) && isPrintable(line), "an object is JSON on one line");
}

void checkWriting(const recording::RecordEvent &event) {
    const recording::RecordEvent again = recording::parseLine(recording::composeLine(event));
    const auto membersOf = [](const recording::RecordEvent &each) {
        return std::tie(each.kind, each.number, each.time, each.thread, each.entryPoint, each.within, each.callback,
                        each.callbackKind, each.values, each.result, each.lastError, each.raised, each.argument,
                        each.isOutput, each.offset, each.hex);
    };
    fuzz::require(membersOf(again) == membersOf(event), "an event survives being written");
}

/// What `kal spy` shows, as text, as objects and as a timeline.
void checkShown(const std::string &text, const tool::SpyFilter &filter) {
    tool::SpyView view(filter);
    tool::SpyObjects objects(filter);
    std::string document;
    tool::SpyTimeline timeline([&](std::string_view piece) { document += piece; });
    size_t begun = 0;
    size_t told = 0;
    const recording::RecordingParser *self = nullptr;
    recording::RecordingParser parser([&](const recording::RecordEvent &event) {
        begun += event.kind == recording::EventKind::call || event.kind == recording::EventKind::callback ? 1 : 0;
        for (const std::string &line : linesOf(view.show(event))) {
            fuzz::require(line.find("  0x") != line.npos, "a line tells its thread");
        }
        if (const auto object = objects.add(event); !object.is_null()) {
            checkObject(object);
            ++told;
        }
        timeline.add(event, self->header());
        checkWriting(event);
    });
    self = &parser;
    read(text, [&](std::string_view line) { parser.add(line); });
    for (const auto &object : objects.finish()) {
        checkObject(object);
        ++told;
    }
    fuzz::require(told <= begun, "nothing is told that did not begin");

    timeline.finish();
    const nlohmann::json parsed = nlohmann::json::parse(document, nullptr, false);
    fuzz::require(!parsed.is_discarded(), "the timeline is JSON");
    size_t calls = 0;
    for (const auto &event : parsed.at("traceEvents")) {
        const bool isSpan = event.at("ph") == "X";
        calls += isSpan && event.at("cat") == "call" ? 1 : 0;
        fuzz::require(!isSpan || event.at("dur").get<int64_t>() >= 0, "no call ends before it begins");
    }
    fuzz::require(calls == timeline.callCount(), "each call is a span");
}

/// A whole recording as the tool reads it; nothing when the text is none.
std::optional<recording::Recording> readWhole(const std::string &text, std::string &problem) {
    recording::RecordingReader reader;
    problem = read(text, [&](std::string_view line) { reader.add(line); });
    try {
        if (problem.empty()) {
            return reader.finish();
        }
    } catch (const recording::RecordingError &error) {
        problem = error.what();
    }
    return std::nullopt;
}

/// As the simulator reads it, which must find the same.
void checkSimulatorsReading(const std::string &text, const std::string &problem) {
    std::string found;
    try {
        recording::RecordingReader reader;
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);) {
            reader.add(line);
        }
        static_cast<void>(reader.finish());
    } catch (const recording::RecordingError &error) {
        found = error.what();
    }
    fuzz::require(found == problem, "tool and simulator find the same wrong");
}

void checkDiff(const recording::Recording &left, const recording::Recording &right) {
    fuzz::require(tool::SpyDiff(left, left).isEqual(), "a recording differs from itself in nothing");
    const tool::SpyDiff diff(left, right);
    const tool::SpyDiff reverse(right, left);
    fuzz::require(diff.isEqual() == reverse.isEqual(), "which one comes first makes no difference");
    fuzz::require(diff.differences().size() <= diff.leftCount() + reverse.leftCount(), "each call differs once");
    for (const auto &difference : diff.differences()) {
        for (const std::string &line : linesOf(tool::SpyDiff::describe(difference))) {
            fuzz::require(line.starts_with("- ") || line.starts_with("+ "), "a line tells its side");
        }
        checkObject(tool::SpyDiff::object(difference));
    }
}

void checkReplay(const recording::Recording &recording) {
    simulator::ReplayPlan plan(recording);
    size_t within = 0;
    for (const auto &call : recording.calls) {
        const auto *const taken = plan.take(call.begin.entryPoint, call.begin.values);
        fuzz::require(taken != nullptr && taken->begin.entryPoint == call.begin.entryPoint, "each call has its answer");
    }
    for (const auto &call : recording.calls) {
        fuzz::require(plan.take(call.begin.entryPoint, call.begin.values) == nullptr, "an answer is given once");
        fuzz::require(plan.knows(call.begin.entryPoint, call.begin.values), "a call that was taken is known");
        for (const auto *callback : plan.callbacksWithin(call)) {
            fuzz::require(callback->begin.within == call.begin.number, "a callback happens within its call");
        }
    }
    for (const auto &callback : recording.callbacks) {
        within += callback.begin.within ? 1 : 0;
    }
    fuzz::require(plan.callbacksByThemselves().size() + within == recording.callbacks.size(), "no callback is lost");
    for (const auto &each : plan.callbacksByThemselves()) {
        fuzz::require(each.anchor == nullptr || each.anchor->beginPlace < each.callback->beginPlace,
                      "a callback waits for what was before it");
    }
    static_cast<void>(plan.isMissing("OrxInstall"));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    fuzz::Input input(bytes, size);
    const auto choices = input.number<uint8_t>();
    const auto makeText = [&](const std::string &raw) { return (choices & 1) != 0 ? raw : withPieces(raw); };
    const std::string text = makeText(input.text());
    const std::string other = makeText(input.remainingText());

    tool::SpyFilter filter;
    filter.failures = (choices & 2) != 0;
    filter.entryPoint = (choices & 4) != 0 ? "OrxGetCachePrinter" : "";
    if ((choices & 8) != 0) {
        filter.thread = 9;
    }
    // One of the two for each input: the other half of the time finds more with other inputs.
    if ((choices & 16) != 0) {
        checkShown(text, filter);
        return 0;
    }
    std::string problem;
    const auto left = readWhole(text, problem);
    checkSimulatorsReading(text, problem);
    if (!left) {
        return 0;
    }
    checkReplay(*left);
    checkDiff(*left, readWhole(other, problem).value_or(*left));
    return 0;
}
