#include "logging/LogLine.h"

namespace kal {

namespace {

constexpr uint32_t hexadecimal = 16;

void composeTime(MessageText &line, const LogTime &time) {
    line << PaddedNumber{time.year, 4} << '/' << PaddedNumber{time.month, 2} << '/' << PaddedNumber{time.day, 2} << '-'
         << PaddedNumber{time.hour, 2} << ':' << PaddedNumber{time.minute, 2} << ':' << PaddedNumber{time.second, 2}
         << '.' << PaddedNumber{time.milliseconds, 3} << ' ';
}

} // namespace

void composeHeader(MessageText &line, const LogHeader &header) {
    if (header.time) {
        composeTime(line, *header.time);
    }
    if (header.processId) {
        line << "pid=" << PaddedNumber{*header.processId, 4, hexadecimal} << ' ';
    }
    if (header.threadId) {
        line << "tid=" << PaddedNumber{*header.threadId, 4, hexadecimal} << ' ';
    }
    line << header.component;
    if (header.component.size() < header.componentWidth) {
        line.fill(' ', header.componentWidth - header.component.size());
    }
    line << ' ';
    if (header.depth > 0) {
        line.fill(' ', static_cast<size_t>(header.depth));
    }
}

} // namespace kal
