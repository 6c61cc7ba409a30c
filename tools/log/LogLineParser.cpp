#include "tools/log/LogLineParser.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <system_error>

namespace tool {

namespace {

constexpr size_t componentWidth = 15;
constexpr std::string_view clockShape = "dddd/dd/dd-dd:dd:dd.ddd ";
constexpr std::string_view resultLabel = " rc=";

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

bool isWordCharacter(char character) {
    return isDigit(character) || (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           character == '_';
}

bool hasClockShape(std::string_view line) {
    if (line.size() < clockShape.size()) {
        return false;
    }
    for (size_t at = 0; at < clockShape.size(); ++at) {
        if (clockShape[at] == 'd' ? !isDigit(line[at]) : line[at] != clockShape[at]) {
            return false;
        }
    }
    return true;
}

unsigned digitsAt(std::string_view line, size_t at, size_t count) {
    unsigned number = 0;
    for (const char digit : line.substr(at, count)) {
        number = number * 10 + static_cast<unsigned>(digit - '0');
    }
    return number;
}

std::optional<LogClock> takeClock(std::string_view &line) {
    if (!hasClockShape(line)) {
        return std::nullopt;
    }
    LogClock clock;
    clock.year = static_cast<int>(digitsAt(line, 0, 4));
    clock.month = digitsAt(line, 5, 2);
    clock.day = digitsAt(line, 8, 2);
    clock.hour = digitsAt(line, 11, 2);
    clock.minute = digitsAt(line, 14, 2);
    clock.second = digitsAt(line, 17, 2);
    clock.millisecond = digitsAt(line, 20, 3);
    if (clock.month < 1 || clock.month > 12 || clock.day < 1 || clock.day > 31 || clock.hour > 23 ||
        clock.minute > 59 || clock.second > 59) {
        return std::nullopt;
    }
    line.remove_prefix(clockShape.size());
    return clock;
}

std::optional<uint32_t> takeId(std::string_view &line, std::string_view label) {
    if (!line.starts_with(label)) {
        return std::nullopt;
    }
    const char *const begin = line.data() + label.size();
    const char *const end = line.data() + line.size();
    uint32_t id = 0;
    const auto [stopped, error] = std::from_chars(begin, end, id, 16);
    if (error != std::errc{} || stopped - begin < 4 || stopped == end || *stopped != ' ') {
        return std::nullopt;
    }
    line.remove_prefix(static_cast<size_t>(stopped - line.data()) + 1);
    return id;
}

bool takeComponent(std::string_view &line, std::string_view &component) {
    const size_t length = std::min(line.find(' '), line.size());
    if (length == 0 || !std::all_of(line.begin(), line.begin() + static_cast<ptrdiff_t>(length), isWordCharacter)) {
        return false;
    }
    // A name longer than the column is not truncated. In both cases one space follows.
    const size_t column = std::max(length, componentWidth);
    if (line.size() <= column ||
        line.substr(length, column + 1 - length).find_first_not_of(' ') != std::string_view::npos) {
        return false;
    }
    component = line.substr(0, length);
    line.remove_prefix(column + 1);
    return true;
}

std::string_view trimmed(std::string_view text) {
    const size_t begin = text.find_first_not_of(' ');
    if (begin == std::string_view::npos) {
        return {};
    }
    return text.substr(begin, text.find_last_not_of(" ,") + 1 - begin);
}

/// Start of the label before an equals sign; spaces may separate the two ("handle =5").
size_t labelBegin(std::string_view text, size_t equals, size_t &labelEnd) {
    labelEnd = equals;
    while (labelEnd > 0 && text[labelEnd - 1] == ' ') {
        --labelEnd;
    }
    size_t begin = labelEnd;
    while (begin > 0 && isWordCharacter(text[begin - 1])) {
        --begin;
    }
    return begin;
}

} // namespace

int64_t LogClock::milliseconds() const {
    // Days of the Gregorian calendar. Years are counted from March, so that the leap day is the last day of a year.
    const int64_t shifted = month <= 2 ? year - 1 : year;
    const int64_t era = (shifted >= 0 ? shifted : shifted - 399) / 400;
    const int64_t yearOfEra = shifted - era * 400;
    const int64_t dayOfYear = (153 * (static_cast<int64_t>(month) + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const int64_t days = era * 146097 + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - 719468;
    return ((days * 24 + hour) * 60 + minute) * 60000 + static_cast<int64_t>(second) * 1000 + millisecond;
}

std::string LogClock::date() const {
    std::array<char, 32> buffer{};
    const int length = std::snprintf(buffer.data(), buffer.size(), "%04d/%02u/%02u", year, month, day);
    return length < 0 ? std::string() : std::string(buffer.data());
}

std::string LogClock::time() const {
    std::array<char, 32> buffer{};
    const int length =
        std::snprintf(buffer.data(), buffer.size(), "%02u:%02u:%02u.%03u", hour, minute, second, millisecond);
    return length < 0 ? std::string() : std::string(buffer.data());
}

std::optional<LogLine> parseLogLine(std::string_view line) {
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) {
        line.remove_suffix(1);
    }
    LogLine parsed;
    parsed.clock = takeClock(line);
    parsed.processId = takeId(line, "pid=");
    parsed.threadId = takeId(line, "tid=");
    if (!takeComponent(line, parsed.component)) {
        return std::nullopt;
    }
    parsed.depth = std::min(line.find_first_not_of(' '), line.size());
    parsed.text = line.substr(parsed.depth);
    return parsed;
}

CallEvent callEvent(std::string_view text) {
    if (text.starts_with('+')) {
        return CallEvent::entry;
    }
    return text.starts_with('-') ? CallEvent::exit : CallEvent::message;
}

std::optional<CallText> matchExit(std::string_view exitText, std::string_view entryDescription) {
    if (!exitText.starts_with('-') || !exitText.substr(1).starts_with(entryDescription)) {
        return std::nullopt;
    }
    const std::string_view rest = exitText.substr(1 + entryDescription.size());
    if (rest.empty()) {
        return CallText{entryDescription, std::nullopt};
    }
    if (!rest.starts_with(resultLabel)) {
        return std::nullopt;
    }
    return CallText{entryDescription, rest.substr(resultLabel.size())};
}

CallText splitExit(std::string_view exitText) {
    exitText.remove_prefix(exitText.starts_with('-') ? 1 : 0);
    const size_t label = exitText.rfind(resultLabel);
    if (label == std::string_view::npos) {
        return {exitText, std::nullopt};
    }
    return {exitText.substr(0, label), exitText.substr(label + resultLabel.size())};
}

std::string_view callName(std::string_view description) {
    const size_t parenthesis = description.find("()");
    const std::string_view name = description.substr(0, parenthesis);
    return name.empty() ? description : name;
}

std::vector<CallArgument> callArguments(std::string_view description) {
    std::vector<CallArgument> arguments;
    const size_t parenthesis = description.find("()");
    if (parenthesis == std::string_view::npos) {
        return arguments;
    }
    const std::string_view text = description.substr(parenthesis + 2);
    size_t valueBegin = 0;
    for (size_t equals = text.find('='); equals != std::string_view::npos; equals = text.find('=', equals + 1)) {
        size_t labelEnd = 0;
        const size_t begin = labelBegin(text, equals, labelEnd);
        // Not a label, so this equals sign is part of a value ("key=a=b").
        if (begin == labelEnd || (begin > 0 && text[begin - 1] != ' ')) {
            continue;
        }
        if (!arguments.empty()) {
            arguments.back().value = trimmed(text.substr(valueBegin, begin - valueBegin));
        }
        arguments.push_back({text.substr(begin, labelEnd - begin), {}});
        valueBegin = equals + 1;
    }
    if (!arguments.empty()) {
        arguments.back().value = trimmed(text.substr(valueBegin));
    }
    return arguments;
}

bool isFailureResult(std::string_view result) {
    for (const std::string_view name : {"KAL_FAIL", "DEVERR_", "KAL_MOREDATA", "KAL_PRNBUSY"}) {
        if (result.starts_with(name)) {
            return true;
        }
    }
    // 1 is the general failure, and device errors are negative. "0, bytesWritten=..." and port types are successes.
    const std::string_view number = result.substr(0, result.find(','));
    return number == "1" || (number.size() > 1 && number[0] == '-' && isDigit(number[1]));
}

bool isFailure(const LogLine &line) {
    switch (callEvent(line.text)) {
    case CallEvent::entry:
        return false;
    case CallEvent::exit: {
        const CallText exit = splitExit(line.text);
        return exit.result && isFailureResult(*exit.result);
    }
    case CallEvent::message:
        break;
    }
    for (const std::string_view sign : {"failed", "exception", "orxClient=NULL", " = NULL", "KAL_FAIL"}) {
        if (line.text.find(sign) != std::string_view::npos) {
            return true;
        }
    }
    return false;
}

} // namespace tool
