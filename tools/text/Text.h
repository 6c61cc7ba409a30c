/// Texts on their way between the command line, the library and the terminal. Inside the tool text is UTF-8; the
/// library and the log file speak the code page of the system.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tool {

std::wstring toWide(std::string_view utf8);
std::string fromWide(std::wstring_view wide);
/// For the library.
std::string toNarrow(std::string_view utf8);
/// From the library or the log: UTF-8 stays, anything else is read in the system's code page.
std::string fromNarrow(std::string_view text);

/// The text with every control character shown as a point: a name from a device must not steer the terminal.
std::string printable(std::string_view text);

/// The arguments of this process, the program's name first.
std::vector<std::string> commandLineArguments();

/// An environment variable; "" when it is not set.
std::string environmentVariable(const char *name);

/// What the system says about one of its error codes, with the code.
std::string systemErrorText(unsigned long code);

} // namespace tool
