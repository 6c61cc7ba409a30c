#include "tools/CommandLine.h"

#include "tools/File.h"
#include "tools/Terminal.h"
#include "tools/log/LogLocation.h"
#include "tools/log/LogReader.h"
#include "tools/log/LogView.h"
#include "tools/log/Timeline.h"
#include "tools/text/JsonText.h"
#include "tools/text/NumberText.h"
#include "tools/text/Progress.h"
#include "tools/text/Text.h"

#include <cstdio>
#include <memory>
#include <optional>

namespace tool {

namespace {

std::string namedFile(const std::string &file) {
    return file.empty() ? locateLog().logFile : file;
}

void explainMissingLog(const std::string &file) {
    if (!fileExists(file)) {
        throw CommandFailure("there is no log file " + file + "; `kal log status` shows whether one is written");
    }
}

// on and off

LogSetting readComponent(const std::string &text) {
    const size_t equals = text.find('=');
    const auto name = findComponent(text.substr(0, equals));
    const auto mask =
        equals == std::string::npos ? std::nullopt : parseNumber(std::string_view(text).substr(equals + 1), 0xFFFFFFFF);
    if (!name) {
        throw CLI::ValidationError("--component", "'" + text.substr(0, equals) + "' is no component of the log");
    }
    if (!mask) {
        throw CLI::ValidationError("--component", "'" + text + "' is not NAME=MASK");
    }
    return {*name, *mask};
}

int logOn(const LogRequest &request) {
    const LogLocation location = locateLog();
    storeSettings(location.loggerKey, settingsFor(request));
    const SettingReader read = settingReader(location.loggerKey);
    printOut("Logging is " + describeSelection(read) + ".\n");
    printOut("Lines begin with: " + describeHeader(read) + ".\n");
    printOut("Log file: " + location.logFile + "\n");
    printOut("Programs that run already notice within five seconds.\n");
    if (read(logSetting::processId).value_or(0) == 0 || read(logSetting::threadId).value_or(0) == 0) {
        printOut("Use --pid --tid to distinguish the lines of several programs and threads.\n");
    }
    return succeeded;
}

int logOff() {
    const LogLocation location = locateLog();
    if (tryKey(location.settingsKey, KEY_READ | KEY_WOW64_64KEY) == ERROR_FILE_NOT_FOUND) {
        printOut("Logging is off already: there is no settings key.\n");
        return succeeded;
    }
    storeSettings(location.loggerKey, {{std::string(logSetting::startLog), 0}});
    printOut("Logging is off; errors are still written. Programs that run already notice within five seconds.\n");
    return succeeded;
}

/// Adds "--NAME" and "--no-NAME". Without either, the target is unchanged.
void addSwitch(CLI::App &command, const std::string &name, std::optional<bool> &target,
               const std::string &description) {
    command.add_flag_function(
        "--" + name + ",!--no-" + name, [&target](int64_t count) { target = count > 0; }, description);
}

void addOnAndOff(CLI::App &family, Invocation &invocation) {
    auto *const on = family.add_subcommand("on", "Switch the log on");
    const auto request = std::make_shared<LogRequest>();
    auto *const all = on->add_flag("--all", request->all, "Write every level of every component");
    addNumber(*on, "--level", request->level,
              "Write these levels of every component and no others, as a mask: 1 errors (always written), 2 calls, "
              "8 registrations",
              0xFFFFFFFF)
        ->excludes(all);
    on->add_option_function<std::vector<std::string>>(
          "--component",
          [request](const std::vector<std::string> &texts) {
              for (const std::string &text : texts) {
                  request->components.push_back(readComponent(text));
              }
          },
          "Write these levels of this component; the others keep to --level, or to errors without it")
        ->type_name("NAME=MASK")
        ->type_size(1)
        ->expected(1)
        ->take_all()
        ->excludes(all);
    addSwitch(*on, "clock", request->clock, "Begin lines with the time, or stop doing so");
    addSwitch(*on, "pid", request->processId, "Begin lines with the process id, or stop doing so");
    addSwitch(*on, "tid", request->threadId, "Begin lines with the thread id, or stop doing so");
    on->footer("Examples:\n"
               "  kal log on --pid --tid\n"
               "  kal log on --level 8\n"
               "  kal log on --component LegacyClient=0x2\n"
               "\n"
               "Needs the right to write below HKEY_LOCAL_MACHINE. What is not named keeps its setting.");
    on->callback([request, &invocation] { invocation.action = [request] { return logOn(*request); }; });

    auto *const off = family.add_subcommand("off", "Switch the log off; errors are still written");
    off->callback([&invocation] { invocation.action = logOff; });
}

// status

int logStatus(bool json) {
    const LogLocation location = locateLog();
    const unsigned long opened = tryKey(location.settingsKey, settingsAccess);
    const SettingReader read = settingReader(location.loggerKey);
    const auto size = fileSize(location.logFile);
    const std::string access = hexNumber(settingsAccess, 1);
    if (json) {
        nlohmann::ordered_json object{{"key", fullKeyName(location.settingsKey)},
                                      {"loggerKey", fullKeyName(location.loggerKey)},
                                      {"access", settingsAccess},
                                      {"keyOpens", opened == ERROR_SUCCESS},
                                      {"keyError", opened},
                                      {"started", read(logSetting::startLog).value_or(0) != 0},
                                      {"selection", describeSelection(read)},
                                      {"header", describeHeader(read)},
                                      {"file", location.logFile},
                                      {"fileExists", size.has_value()},
                                      {"fileSize", size.value_or(0)}};
        printOut(jsonText(object));
        return succeeded;
    }
    printOut("Settings key  " + fullKeyName(location.settingsKey) + "\n");
    if (opened == ERROR_SUCCESS) {
        printOut("              opens with the rights that the library asks for (" + access + ")\n");
        printOut("Logging       " + describeSelection(read) + "\n");
        printOut("Lines         begin with: " + describeHeader(read) + "\n");
    } else {
        printOut("              does not open with the rights that the library asks for (" + access +
                 "): " + systemErrorText(opened) + "\n");
        printOut("Logging       silent, errors included: programs of this user find no settings key\n");
    }
    printOut("Log file      " + location.logFile + (size ? ", " + byteText(*size) : ", not there yet") + "\n");
    return succeeded;
}

void addStatus(CLI::App &family, Invocation &invocation) {
    auto *const command = family.add_subcommand("status", "Show whether, what and where the library logs");
    const auto json = std::make_shared<bool>(false);
    addJson(*command, *json);
    command->callback([json, &invocation] { invocation.action = [json] { return logStatus(*json); }; });
}

// show

struct ShowRequest {
    std::string file;
    LogFilter filter;
    bool follow = false;
    std::optional<uint32_t> seconds;
    bool json = false;
};

int logShow(const ShowRequest &request) {
    const std::string file = namedFile(request.file);
    const bool isTerminal = outputIsTerminal();
    LogView view(request.filter, outputHasColours());
    const LineSplitter::Sink sink = [&](std::string_view line) {
        if (request.json) {
            printOut(logLineJson(line, request.filter));
        } else {
            printOut(view.show(isTerminal ? printable(line) : std::string(line)));
        }
    };
    if (!request.follow) {
        explainMissingLog(file);
        readLog(file, sink);
        return succeeded;
    }
    const Interruption interruption;
    const auto seconds = request.seconds ? std::chrono::seconds(*request.seconds) : std::chrono::hours(24 * 365);
    followLog(file, sink, [] { std::fflush(stdout); },
              {std::chrono::steady_clock::now() + seconds, interruption.event()});
    return succeeded;
}

void addShow(CLI::App &family, Invocation &invocation) {
    auto *const command = family.add_subcommand("show", "Show the log, calls nested by indentation");
    const auto request = std::make_shared<ShowRequest>();
    auto *const follow = command->add_flag("--follow", request->follow, "Go on showing what is added, until Ctrl-C");
    addNumber(*command, "--seconds", request->seconds, "With --follow: end after this number of seconds", 0xFFFFFF)
        ->needs(follow);
    addNumber(*command, "--pid", request->filter.processId, "Only lines of this process", 0xFFFFFFFF);
    addNumber(*command, "--tid", request->filter.threadId, "Only lines of this thread", 0xFFFFFFFF);
    command->add_option("--component", request->filter.component, "Only lines of this component");
    command->add_option("--grep", request->filter.text, "Only lines that contain this string");
    command->add_option("--file", request->file, "Read this log instead of the library's own");
    addJson(*command, request->json, "Print one JSON object per line");
    command->footer("Examples:\n"
                    "  kal log show\n"
                    "  kal log show --follow --component LegacyClient\n"
                    "  kal log show --pid 0x0a3c --grep KalWrite\n"
                    "  kal log show --file from-customer.log --json\n"
                    "\n"
                    "On a terminal failures are red; NO_COLOR=1 switches colours off.");
    command->callback([request, &invocation] { invocation.action = [request] { return logShow(*request); }; });
}

// timeline

int logTimeline(const std::string &output, const std::string &input) {
    const std::string file = namedFile(input);
    explainMissingLog(file);
    OutputFile document(output);
    Timeline timeline([&](std::string_view piece) { document.write(piece); });
    readLog(file, [&](std::string_view line) { timeline.add(line); });
    timeline.finish();
    document.commit();
    printOut(output + ": " + std::to_string(timeline.callCount()) + " calls from " +
             std::to_string(timeline.lineCount()) + " lines");
    if (timeline.unfinishedCount() > 0) {
        printOut(", " + std::to_string(timeline.unfinishedCount()) + " of them without an end");
    }
    printOut("\nOpen it in https://ui.perfetto.dev or chrome://tracing.\n");
    return succeeded;
}

void addTimeline(CLI::App &family, Invocation &invocation) {
    auto *const command = family.add_subcommand("timeline", "Turn the log into a timeline of calls");
    struct TimelineRequest {
        std::string output;
        std::string input;
    };
    const auto request = std::make_shared<TimelineRequest>();
    command->add_option("OUT.json", request->output, "File to write, for Perfetto or chrome://tracing")->required();
    command->add_option("--file", request->input, "Read this log instead of the library's own");
    command->footer("Example:\n"
                    "  kal log on --pid --tid     (so that processes and threads get rows of their own)\n"
                    "  kal log timeline calls.json");
    command->callback([request, &invocation] {
        invocation.action = [request] { return logTimeline(request->output, request->input); };
    });
}

} // namespace

void addLogCommands(CLI::App &program, Invocation &invocation) {
    auto *const family = program.add_subcommand("log", "Switch the library's log on and off, and read it");
    family->require_subcommand(1);
    family->footer("Examples:\n"
                   "  kal log status\n"
                   "  kal log on --pid --tid\n"
                   "  kal log show --follow\n"
                   "  kal log timeline calls.json");
    addOnAndOff(*family, invocation);
    addStatus(*family, invocation);
    addShow(*family, invocation);
    addTimeline(*family, invocation);
}

} // namespace tool
