#include "simulator/events/EventLine.h"

#include "platform/Hexadecimal.h"

#include <charconv>

namespace simulator {

namespace {

constexpr std::string_view none = "-";

std::string_view takeWord(std::string_view &text) {
    const auto end = std::min(text.find(' '), text.size());
    const auto word = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return word;
}

template <class Number>
bool read(std::string_view word, Number &number, int base = 10) {
    const auto [stop, failure] = std::from_chars(word.data(), word.data() + word.size(), number, base);
    return failure == std::errc() && stop == word.data() + word.size();
}

bool readAlert(std::string_view word, Bytes &alert) {
    for (; word.size() >= 2; word.remove_prefix(2)) {
        uint8_t byte = 0;
        if (!read(word.substr(0, 2), byte, 16)) {
            return false;
        }
        alert.push_back(byte);
    }
    return word.empty();
}

} // namespace

// "due process handle category notification flag alert". A missing flag is "-". The alert is hexadecimal and its
// notification 0; for a notification, the alert is "-".
std::string composeEventLine(const EventLine &line) {
    const auto &event = line.event;
    std::string text = std::to_string(line.dueMs) + ' ' + std::to_string(line.process) + ' ' +
                       std::to_string(event.handle) + ' ' + std::to_string(event.category) + ' ' +
                       std::to_string(event.notification) + ' ' +
                       (event.flag ? std::to_string(*event.flag) : std::string(none)) + ' ';
    if (event.alert) {
        for (const auto byte : *event.alert) {
            kal::appendHexadecimal(text, byte);
        }
    } else {
        text += none;
    }
    return text + '\n';
}

std::optional<EventLine> readEventLine(std::string_view text) {
    EventLine line;
    auto &event = line.event;
    const bool isHeadGood = read(takeWord(text), line.dueMs) && read(takeWord(text), line.process) &&
                            read(takeWord(text), event.handle) && read(takeWord(text), event.category) &&
                            read(takeWord(text), event.notification);
    if (!isHeadGood) {
        return std::nullopt;
    }
    const auto flag = takeWord(text);
    if (flag != none && !read(flag, event.flag.emplace())) {
        return std::nullopt;
    }
    if (text != none && !readAlert(text, event.alert.emplace())) {
        return std::nullopt;
    }
    return line;
}

std::vector<EventLine> EventLineReader::take(std::string_view piece) {
    unfinished_ += piece;
    std::vector<EventLine> lines;
    std::string_view rest = unfinished_;
    for (auto end = rest.find('\n'); end != std::string_view::npos; end = rest.find('\n')) {
        if (auto line = readEventLine(rest.substr(0, end))) {
            lines.push_back(std::move(*line));
        }
        rest.remove_prefix(end + 1);
    }
    unfinished_.erase(0, unfinished_.size() - rest.size());
    return lines;
}

} // namespace simulator
