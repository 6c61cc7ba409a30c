/// Blocks of a text file cut into lines, so that a file of any size passes through one buffer.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace tool {

/// Takes the blocks in order and hands out every whole line without its line end.
class LineSplitter {
  public:
    using Sink = std::function<void(std::string_view line)>;

    /// A line that grows beyond this is handed out in pieces: a file without line ends must not fill the memory.
    static constexpr size_t longestLine = size_t{1024} * 1024;

    explicit LineSplitter(Sink sink) : sink_(std::move(sink)) {}

    void feed(std::string_view block);
    /// Hands out what stands behind the last line end, if anything does.
    void finish();
    /// Forgets what stands behind the last line end: the file began anew.
    void forget() { rest_.clear(); }

  private:
    void handOut(std::string_view line);

    Sink sink_;
    std::string rest_;
};

} // namespace tool
