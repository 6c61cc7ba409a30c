/// Splits a text file, read in blocks, into lines. A file of any size needs only one buffer.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace tool {

/// Takes the blocks in order and passes on every complete line without its line end.
class LineSplitter {
  public:
    using Sink = std::function<void(std::string_view line)>;

    /// Longer lines are passed on in chunks, so that a file without line ends does not fill the memory.
    static constexpr size_t longestLine = size_t{1024} * 1024;

    explicit LineSplitter(Sink sink) : sink_(std::move(sink)) {}

    void feed(std::string_view block);
    /// Passes on the text after the last line end, if there is any.
    void finish();
    /// Drops the text after the last line end, because the file was replaced.
    void forget() { rest_.clear(); }

  private:
    void handOut(std::string_view line);

    Sink sink_;
    std::string rest_;
};

} // namespace tool
