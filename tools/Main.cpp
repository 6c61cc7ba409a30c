#include "api/kal.h"
#include "tools/CommandLine.h"
#include "tools/Terminal.h"
#include "tools/text/Text.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

namespace tool {

namespace {

std::string versionText() {
    return "kal " + std::to_string(KAL_VERSION_MAJOR) + "." + std::to_string(KAL_VERSION_MINOR) + "." +
           std::to_string(KAL_VERSION_PATCH);
}

void addCommands(CLI::App &program, Invocation &invocation) {
    program.allow_windows_style_options(false); // file names may begin with a slash; the commands inherit this
    program.set_version_flag("--version", versionText());
    program.add_option("--server", invocation.server, "Machine on which the service runs; this one by default");
    program.require_subcommand(1);
    program.footer("Examples:\n"
                   "  kal list\n"
                   "  kal print --printer 0x6001 report.pdf\n"
                   "  kal watch 0x6001\n"
                   "  kal doctor\n"
                   "\n"
                   "`kal COMMAND --help` explains a command. Handles and other numbers are decimal, or hexadecimal\n"
                   "after 0x. Exit status: 0 done, 1 the operation failed, 2 the command line was not understood.");
    addPrintCommands(program, invocation);
    addEnumerationCommands(program, invocation);
    addStatusCommands(program, invocation);
    addBidiCommand(program, invocation);
    addWatchCommand(program, invocation);
    addJobCommands(program, invocation);
    addLogCommands(program, invocation);
    addSpyCommands(program, invocation);
    addDoctorCommand(program, invocation);
}

int run() {
    CLI::App program("Prints to, asks and watches printers through kalclient.dll.", "kal");
    Invocation invocation;
    addCommands(program, invocation);
    try {
        std::vector<std::string> arguments = commandLineArguments();
        // The parser expects the arguments in reverse order, without the program's name.
        std::reverse(arguments.begin(), arguments.end());
        arguments.pop_back();
        program.parse(std::move(arguments));
    } catch (const CLI::ParseError &error) {
        return program.exit(error) == 0 ? succeeded : misused;
    }
    return invocation.action();
}

} // namespace

} // namespace tool

int main() {
    SetConsoleOutputCP(CP_UTF8);
    int status = tool::failed;
    try {
        status = tool::run();
    } catch (const std::exception &failure) {
        tool::printError(std::string("kal: ") + failure.what() + "\n");
    } catch (...) {
        tool::printError("kal: the library threw an exception; `kal doctor` may show why\n");
    }
    // Reports a failure if output was lost, because of a full disk or a closed pipe.
    if (std::fflush(stdout) != 0 && status == tool::succeeded) {
        tool::printError("kal: the output cannot be written\n");
        status = tool::failed;
    }
    return status;
}
