/// Adds commands to the command line, and numbers to their arguments.
#pragma once

#include "tools/Invocation.h"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <string>

namespace tool {

/// An argument ("HANDLE") or option ("--port-type") with a number up to the limit, decimal or hexadecimal (0x).
template <class Number>
CLI::Option *addNumber(CLI::App &command, const std::string &name, Number &target, const std::string &description,
                       uint32_t limit);

/// An argument or option of this name with a printer handle.
CLI::Option *addHandle(CLI::App &command, const std::string &name, uint16_t &target);

/// "--json".
CLI::Option *addJson(CLI::App &command, bool &target, const std::string &description = "Print JSON");

/// Each function adds the commands of one family.
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
