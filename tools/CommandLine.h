/// What the commands share: how they are added to the command line, how they end, and numbers among their arguments.
#pragma once

#include <CLI/CLI.hpp>

#include <cstdint>
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

/// An argument ("HANDLE") or option ("--port-type") that is a number, decimal or 0x hexadecimal, up to the limit.
template <typename Number>
CLI::Option *addNumber(CLI::App &command, const std::string &name, Number &target, const std::string &description,
                       std::uint32_t limit);

/// A printer handle as the argument or option of that name.
CLI::Option *addHandle(CLI::App &command, const std::string &name, std::uint16_t &target);

/// "--json".
CLI::Option *addJson(CLI::App &command, bool &target, const std::string &description = "Print JSON");

/// Each command family adds its commands.
void addPrintCommands(CLI::App &program, Invocation &invocation);
void addEnumerationCommands(CLI::App &program, Invocation &invocation);
void addStatusCommands(CLI::App &program, Invocation &invocation);
void addBidiCommand(CLI::App &program, Invocation &invocation);
void addWatchCommand(CLI::App &program, Invocation &invocation);
void addJobCommands(CLI::App &program, Invocation &invocation);
void addLogCommands(CLI::App &program, Invocation &invocation);
void addSpyCommands(CLI::App &program, Invocation &invocation);
void addDoctorCommand(CLI::App &program, Invocation &invocation);

} // namespace tool
