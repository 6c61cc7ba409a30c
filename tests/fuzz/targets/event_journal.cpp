// Any text as the journal in which the simulator's processes report events to each other.
#include "simulator/events/EventLine.h"
#include "tests/fuzz/Input.h"

#include <tuple>
#include <utility>

namespace {

using Lines = std::vector<simulator::EventLine>;

auto membersOf(const simulator::EventLine &line) {
    const auto &event = line.event;
    return std::tie(line.dueMs, line.process, event.handle, event.alert, event.category, event.notification,
                    event.flag);
}

bool areEqual(const Lines &left, const Lines &right) {
    return std::ranges::equal(left, right,
                              [](const auto &one, const auto &other) { return membersOf(one) == membersOf(other); });
}

/// As a process reads that looks at the journal while others write to it.
Lines readInPieces(std::string_view text, size_t pieceSize) {
    simulator::EventLineReader reader;
    Lines lines;
    for (size_t offset = 0; offset < text.size(); offset += pieceSize) {
        std::ranges::move(reader.take(text.substr(offset, pieceSize)), std::back_inserter(lines));
    }
    return lines;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    fuzz::Input input(bytes, size);
    const size_t pieceSize = input.number<uint8_t>() + size_t{1};
    const std::string text = input.remainingText();

    const Lines lines = readInPieces(text, text.size() + 1);
    fuzz::require(std::cmp_less_equal(lines.size(), std::ranges::count(text, '\n')), "a line is one event at most");
    fuzz::require(areEqual(readInPieces(text, pieceSize), lines), "the division into pieces makes no difference");
    std::string written;
    for (const auto &line : lines) {
        written += composeEventLine(line);
    }
    fuzz::require(areEqual(readInPieces(written, written.size() + 1), lines), "events survive being written");
    return 0;
}
