// A log file of unknown origin as `kal log` reads it: cut into lines, taken apart, filtered, shown.
#include "tests/fuzz/Input.h"
#include "tools/log/LogLineParser.h"
#include "tools/log/LogSelection.h"
#include "tools/log/LogView.h"
#include "tools/text/LineSplitter.h"

#include <nlohmann/json.hpp>

namespace {

std::vector<std::string> linesOf(std::string_view text, size_t blockSize) {
    std::vector<std::string> lines;
    tool::LineSplitter splitter([&](std::string_view line) { lines.emplace_back(line); });
    for (size_t at = 0; at < text.size(); at += blockSize) {
        splitter.feed(text.substr(at, blockSize));
    }
    splitter.finish();
    return lines;
}

bool liesIn(std::string_view part, std::string_view whole) {
    return part.empty() || (part.data() >= whole.data() && part.data() + part.size() <= whole.data() + whole.size());
}

void checkLine(const std::string &shared) {
    const std::vector<char> exact(shared.begin(), shared.end()); // nothing readable behind the line
    const std::string_view raw(exact.data(), exact.size());
    const auto line = tool::parseLogLine(raw);
    if (!line) {
        return;
    }
    fuzz::require(liesIn(line->component, raw) && liesIn(line->text, raw), "what was taken apart lies in the line");
    fuzz::require(!line->component.empty(), "a line has a component");
    if (line->clock) {
        fuzz::require(raw.starts_with(line->clock->date() + "-" + line->clock->time()), "the clock reads as written");
        static_cast<void>(line->clock->milliseconds());
    }
    const tool::CallText exit = tool::splitExit(line->text);
    for (const tool::CallArgument &argument : tool::callArguments(exit.description)) {
        fuzz::require(!argument.name.empty() && exit.description.find(argument.name) != std::string_view::npos,
                      "an argument's name stands in the call");
        fuzz::require(exit.description.find(argument.value) != std::string_view::npos, "and its value, too");
    }
    static_cast<void>(tool::isFailure(*line));
    if (tool::callEvent(line->text) == tool::CallEvent::exit) {
        const auto matched = tool::matchExit(line->text, exit.description);
        fuzz::require(matched && matched->result == exit.result, "an exit matches its own description");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    fuzz::Input input(bytes, size);
    const size_t blockSize = input.number<uint8_t>() + size_t{1};
    const bool isColoured = input.number<uint8_t>() % 2 != 0;
    const std::string text = input.remainingText();

    const std::vector<std::string> lines = linesOf(text, blockSize);
    fuzz::require(lines == linesOf(text, text.size() + 1), "how a file is read makes no difference");

    tool::LogView view({}, isColoured);
    for (const std::string &line : lines) {
        checkLine(line);
        fuzz::require(line.find('\n') == line.npos, "a line has no line end");
        const std::string shown = view.show(line);
        fuzz::require(shown.empty() || shown.ends_with("\n"), "what is shown ends its line");
        const std::string json = tool::logLineJson(line, {});
        fuzz::require(json.empty() || nlohmann::json::accept(json), "JSON is JSON");
        fuzz::require(json.empty() == !tool::parseLogLine(line), "a line of the log is an object, others are not");
        static_cast<void>(tool::findComponent(line));
    }
    return 0;
}
