/// Terminal support: colours, a status line, and handling of Ctrl-C.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace tool {

void printOut(std::string_view text);
void printError(std::string_view text);

/// Whether standard output is a terminal, not a file or a pipe.
bool outputIsTerminal();
/// Whether to use colours on standard output: the terminal supports them, and NO_COLOR is not set.
bool outputHasColours();

/// Writes line ends to standard output unchanged.
void makeOutputBinary();

/// Shows the progress of a long operation on standard error, if that is a terminal.
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

/// While it exists, Ctrl-C, Ctrl-Break and closing the console are recorded and do not end the process. There can be
/// only one such object at a time.
class Interruption {
  public:
    Interruption();
    ~Interruption();
    Interruption(const Interruption &) = delete;
    Interruption &operator=(const Interruption &) = delete;

    [[nodiscard]] bool requested() const;
    /// An event that is set by the first interruption.
    [[nodiscard]] HANDLE event() const noexcept;
};

} // namespace tool
