#include "tools/log/LogReader.h"

#include "tools/File.h"
#include "tools/text/Text.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace tool {

namespace {

constexpr size_t blockSize = size_t{1024} * 1024;
constexpr DWORD pollInterval = 200;

bool isAscii(std::string_view text) {
    return std::ranges::all_of(text, [](char character) { return static_cast<unsigned char>(character) < 0x80; });
}

LineSplitter::Sink decoding(const LineSplitter::Sink &sink) {
    return [&sink](std::string_view line) {
        if (isAscii(line)) {
            sink(line); // the same in every code page
        } else {
            sink(fromNarrow(line));
        }
    };
}

/// Feeds the rest of the file. @return the number of bytes
uint64_t readOn(InputFile &file, LineSplitter &lines, std::vector<char> &block) {
    uint64_t total = 0;
    while (const size_t count = file.read(block)) {
        lines.feed({block.data(), count});
        total += count;
    }
    return total;
}

bool isOver(const FollowEnd &end) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end.deadline - std::chrono::steady_clock::now());
    const auto pause = std::clamp<long long>(left.count(), 0, pollInterval);
    return WaitForSingleObject(end.stop, static_cast<DWORD>(pause)) == WAIT_OBJECT_0 || left.count() <= 0;
}

} // namespace

void readLog(const std::string &path, const LineSplitter::Sink &sink) {
    InputFile file(path);
    LineSplitter lines(decoding(sink));
    std::vector<char> block(blockSize);
    readOn(file, lines, block);
    lines.finish();
}

void followLog(const std::string &path, const LineSplitter::Sink &sink, const std::function<void()> &afterBatch,
               const FollowEnd &end) {
    LineSplitter lines(decoding(sink));
    std::vector<char> block(blockSize);
    std::optional<InputFile> file;
    uint64_t position = 0;
    do {
        if (!file && fileExists(path)) {
            file.emplace(path);
            position = 0;
        }
        if (file) {
            position += readOn(*file, lines, block);
            afterBatch();
            if (!file->isStillAt(path) || file->size() < position) {
                lines.finish();
                file.reset();
            }
        }
    } while (!isOver(end));
    lines.finish();
    afterBatch();
}

} // namespace tool
