/// Conversions between the command line, the library and the terminal. The tool uses UTF-8; the library and the log
/// file use the system's code page.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tool {

std::wstring toWide(std::string_view utf8);
std::string fromWide(std::wstring_view wide);
/// Converts a string for the library.
std::string toNarrow(std::string_view utf8);
/// Converts a string from the library or the log: UTF-8 is unchanged, other bytes are read in the system's code page.
std::string fromNarrow(std::string_view text);

/// Shows control characters as dots, because names from devices must not control the terminal.
std::string printable(std::string_view text);

/// The arguments of this process; the first is the program's name.
std::vector<std::string> commandLineArguments();

/// An environment variable; "" if it is not set.
std::string environmentVariable(const char *name);

/// The system's message for an error code, with the code.
std::string systemErrorText(unsigned long code);

} // namespace tool
