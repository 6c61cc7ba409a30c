/// What was asked for, and how commands end. Apart from the parser of the command line, which takes long to compile.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>

namespace tool {

/// The program's exit statuses.
enum ExitStatus : int { succeeded = 0, failed = 1, misused = 2 };

/// A command that cannot go on. Its text is the message to the user; the program then ends with `failed`.
class CommandFailure : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// What the command line asked for: commands set the action, the program runs it once all arguments were understood.
struct Invocation {
    std::function<int()> action;
    std::string server; ///< machine on which the service runs, in UTF-8; "" is this one
};

} // namespace tool
