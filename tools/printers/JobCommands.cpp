#include "tools/CommandLine.h"

#include "tools/Terminal.h"
#include "tools/printers/Session.h"
#include "tools/text/ResultNames.h"
#include "tools/text/Text.h"

#include <functional>
#include <memory>

namespace tool {

namespace {

struct JobRequest {
    uint16_t handle = 0;
    uint32_t number = 0;
    std::string key;
    std::string value;
};

/// A command that calls one export with its arguments and shows the result.
struct JobCommand {
    const char *name;
    const char *description;
    const char *exportName;
    const char *examples;
    std::function<void(CLI::App &, JobRequest &)> addArguments;
    std::function<int32_t(const JobRequest &)> call;
};

void add(CLI::App &family, Invocation &invocation, const JobCommand &description) {
    auto *const command = family.add_subcommand(description.name, description.description);
    const auto request = std::make_shared<JobRequest>();
    addHandle(*command, "HANDLE", request->handle);
    description.addArguments(*command, *request);
    command->footer(std::string("Example:\n  ") + description.examples);
    command->callback([request, description, &invocation] {
        invocation.action = [request, description, &invocation]() -> int {
            const Registration registration(invocation);
            const int32_t result = description.call(*request);
            require(description.exportName, result);
            printOut(std::string(description.exportName) + " answered " + describeResult(result) + "\n");
            return succeeded;
        };
    });
}

} // namespace

void addJobCommands(CLI::App &program, Invocation &invocation) {
    auto *const family = program.add_subcommand("job", "Set how the service treats jobs on a printer");
    family->require_subcommand(1);
    family->footer("Examples:\n"
                   "  kal job end-of-job 0x6001 30\n"
                   "  kal job string 0x6001 Duplex on");
    add(*family, invocation,
        {"mode", "Switch job notifications on or off", "KalSetJobControlMode", "kal job mode 0x6001 2",
         [](CLI::App &command, JobRequest &request) {
             addNumber(command, "MODE", request.number,
                       "2 opens the printer and starts notifications, 1 stops them and closes it, 128 is refused; "
                       "what 2 opened ends with the command",
                       0xFFFFFFFF)
                 ->required();
         },
         [](const JobRequest &request) { return KalSetJobControlMode(0, request.handle, request.number); }});
    add(*family, invocation,
        {"cancel-id", "Say which job the next cancel refers to", "KalSetJobCancelMode", "kal job cancel-id 0x6001 17",
         [](CLI::App &command, JobRequest &request) {
             addNumber(command, "ID", request.number, "Job id, 1 or more", 0x7FFFFFFF)->required();
         },
         [](const JobRequest &request) {
             return KalSetJobCancelMode(0, request.handle, static_cast<int32_t>(request.number));
         }});
    add(*family, invocation,
        {"end-of-job", "Set how long the service waits for the true end of a job", "KalSetEndOfJobMode",
         "kal job end-of-job 0x6001 30",
         [](CLI::App &command, JobRequest &request) {
             addNumber(command, "SECONDS", request.number, "Time to wait, 0 to 65535 seconds", 0xFFFF)->required();
         },
         [](const JobRequest &request) {
             return KalSetEndOfJobMode(0, request.handle, 0, 0, static_cast<uint16_t>(request.number));
         }});
    add(*family, invocation,
        {"string", "Hand a key and a value for the job to the service", "KalSetJobStringPrinter",
         "kal job string 0x6001 Duplex on",
         [](CLI::App &command, JobRequest &request) {
             command.add_option("KEY", request.key, "The key")->required();
             command.add_option("VALUE", request.value, "The value")->required();
         },
         [](const JobRequest &request) {
             return KalSetJobStringPrinter(0, request.handle, toNarrow(request.key).c_str(),
                                           toNarrow(request.value).c_str());
         }});
}

} // namespace tool
