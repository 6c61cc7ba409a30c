/// The parsed command line, and how commands end. Separate from the parser, which takes long to compile.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>

namespace tool {

/// The program's exit statuses.
enum ExitStatus : int { succeeded = 0, failed = 1, misused = 2 };

/// Ends a command with the status `failed`. Its text is the message to the user.
class CommandFailure : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The parsed command line. Commands set the action; the program runs it after all arguments were parsed.
struct Invocation {
    std::function<int()> action;
    std::string server; ///< machine on which the service runs, in UTF-8; "" means this machine
};

} // namespace tool
