#include "tools/Terminal.h"

#include "tools/text/Text.h"

#include <fcntl.h>
#include <io.h>

#include <atomic>
#include <cstdio>

namespace tool {

namespace {

bool isTerminal(DWORD standardHandle) {
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(standardHandle), &mode) != 0;
}

/// Set by the system's thread on Ctrl-C. Never closed, because that thread may run at any time.
HANDLE interruptionEvent() {
    static const HANDLE event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    return event;
}

std::atomic<bool> isInterrupted = false; ///< same state as the event, for frequent checks

BOOL WINAPI noteInterruption(DWORD /*kind*/) {
    isInterrupted = true;
    SetEvent(interruptionEvent());
    return TRUE;
}

} // namespace

void printOut(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
}

void printError(std::string_view text) {
    std::fflush(stdout);
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

bool outputIsTerminal() {
    return isTerminal(STD_OUTPUT_HANDLE);
}

bool outputHasColours() {
    DWORD mode = 0;
    const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
    return GetConsoleMode(output, &mode) != 0 && environmentVariable("NO_COLOR").empty() &&
           SetConsoleMode(output, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

void makeOutputBinary() {
    std::fflush(stdout);
    _setmode(_fileno(stdout), _O_BINARY);
}

StatusLine::StatusLine() : shown_(isTerminal(STD_ERROR_HANDLE)) {}

void StatusLine::show(std::string_view text) {
    if (!shown_) {
        return;
    }
    std::string line = "\r";
    line += text;
    if (text.size() < width_) {
        line.append(width_ - text.size(), ' ');
    }
    width_ = text.size();
    printError(line);
}

void StatusLine::clear() {
    if (shown_ && width_ > 0) {
        std::string line = "\r";
        printError(line.append(width_, ' ').append("\r"));
        width_ = 0;
    }
}

Interruption::Interruption() {
    ResetEvent(interruptionEvent());
    isInterrupted = false;
    SetConsoleCtrlHandler(noteInterruption, TRUE);
}

Interruption::~Interruption() {
    SetConsoleCtrlHandler(noteInterruption, FALSE);
}

bool Interruption::requested() const {
    return isInterrupted;
}

HANDLE Interruption::event() const noexcept {
    return interruptionEvent();
}

} // namespace tool
