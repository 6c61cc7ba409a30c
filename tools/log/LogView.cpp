#include "tools/log/LogView.h"

#include "platform/Ascii.h"
#include "tools/text/JsonText.h"
#include "tools/text/NumberText.h"

#include <algorithm>

namespace tool {

namespace {

constexpr std::string_view red = "\x1b[31m";
constexpr std::string_view faint = "\x1b[2m";
constexpr std::string_view plain = "\x1b[0m";
constexpr size_t componentColumn = 15;
/// A line with more open calls than this is treated as damaged.
constexpr size_t deepestIndentation = 100;

} // namespace

bool LogFilter::accepts(const LogLine &line) const {
    return (!processId || line.processId == processId) && (!threadId || line.threadId == threadId) &&
           (component.empty() || kal::equalIgnoringCase(line.component, component)) &&
           (text.empty() || line.text.find(text) != std::string_view::npos);
}

std::string LogView::show(std::string_view rawLine) {
    const auto line = parseLogLine(rawLine);
    if (!line) {
        return previousShown_ ? std::string(rawLine) + "\n" : std::string();
    }
    previousShown_ = filter_.accepts(*line);
    return previousShown_ ? compose(*line) : std::string();
}

std::string LogView::compose(const LogLine &line) {
    std::string head;
    std::string shown;
    if (line.clock) {
        if (std::string date = line.clock->date(); date != date_) {
            date_ = std::move(date);
            shown += "--- " + date_ + "\n";
        }
        head += line.clock->time() + "  ";
    }
    if (line.processId) {
        head += "pid " + hexNumber(*line.processId, 4) + "  ";
    }
    if (line.threadId) {
        head += "tid " + hexNumber(*line.threadId, 4) + "  ";
    }
    head += line.component;
    head.append(componentColumn - std::min(componentColumn, line.component.size()), ' ');

    std::string body(2 * std::min(line.depth, deepestIndentation), ' ');
    body += line.text;
    if (!coloured_) {
        return shown + head + "  " + body + "\n";
    }
    shown.append(faint).append(head).append(plain).append("  ");
    if (isFailure(line)) {
        shown.append(red).append(body).append(plain);
    } else {
        shown += body;
    }
    return shown + "\n";
}

std::string logLineJson(std::string_view rawLine, const LogFilter &filter) {
    const auto line = parseLogLine(rawLine);
    if (!line || !filter.accepts(*line)) {
        return {};
    }
    nlohmann::ordered_json object;
    if (line->clock) {
        object["time"] = line->clock->date() + "-" + line->clock->time();
    }
    if (line->processId) {
        object["pid"] = *line->processId;
    }
    if (line->threadId) {
        object["tid"] = *line->threadId;
    }
    object["component"] = line->component;
    object["depth"] = line->depth;
    object["text"] = line->text;
    object["failure"] = isFailure(*line);
    return jsonLine(object) + "\n";
}

} // namespace tool
