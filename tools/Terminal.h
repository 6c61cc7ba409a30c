/// The terminal, when there is one: colours, a line that is written over, and Ctrl-C as an orderly end.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace tool {

void printOut(std::string_view text);
void printError(std::string_view text);

/// Whether people read standard output (not a file or a pipe).
bool outputIsTerminal();
/// Whether colours may be used on standard output: a terminal that knows them, and NO_COLOR is not set.
bool outputHasColours();

/// Standard output as bytes, without line ends being changed.
void makeOutputBinary();

/// The progress of something long, on standard error, and only when that is a terminal.
class StatusLine {
  public:
    StatusLine();
    ~StatusLine() { clear(); }
    StatusLine(const StatusLine &) = delete;
    StatusLine &operator=(const StatusLine &) = delete;

    [[nodiscard]] bool isShown() const noexcept { return shown_; }
    void show(std::string_view text);
    void clear();

  private:
    bool shown_;
    size_t width_ = 0;
};

/// While it lives, Ctrl-C, Ctrl-Break and a closed console are noted instead of ending the process. One at a time.
class Interruption {
  public:
    Interruption();
    ~Interruption();
    Interruption(const Interruption &) = delete;
    Interruption &operator=(const Interruption &) = delete;

    [[nodiscard]] bool requested() const;
    /// An event that is set once an end was asked for.
    [[nodiscard]] HANDLE event() const noexcept;
};

} // namespace tool
