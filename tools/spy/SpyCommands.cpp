#include "tools/CommandLine.h"

#include "comc/EntryPoints.h"
#include "tools/File.h"
#include "tools/Terminal.h"
#include "tools/spy/SpyDiff.h"
#include "tools/spy/SpyTimeline.h"
#include "tools/spy/SpyView.h"
#include "tools/text/JsonText.h"
#include "tools/text/LineSplitter.h"
#include "tools/text/Text.h"

#include <memory>
#include <vector>

namespace tool {

namespace {

/// Passes on the lines of a recording. An error in it ends the command; the message begins with the file's name.
template <class Take>
void readLines(const std::string &path, Take take) {
    constexpr size_t blockSize = size_t{1024} * 1024;
    InputFile file(path);
    LineSplitter lines(take);
    std::vector<char> block(blockSize);
    try {
        while (const size_t count = file.read(block)) {
            lines.feed({block.data(), count});
        }
        lines.finish();
    } catch (const recording::RecordingError &error) {
        throw CommandFailure(path + ": " + error.what());
    }
}

/// Reports that a recording ends with an incomplete line, as after a killed process. @return the exit status
int tellCutOff(const std::string &path, const std::optional<std::string> &cutOff) {
    if (!cutOff) {
        return succeeded;
    }
    printError("kal: " + path + ": " + *cutOff + "; everything before it is shown\n");
    return failed;
}

template <class Finish>
void orFail(const std::string &path, Finish finish) {
    try {
        finish();
    } catch (const recording::RecordingError &error) {
        throw CommandFailure(path + ": " + error.what());
    }
}

// show

struct SpyShowRequest {
    std::string file;
    SpyFilter filter;
    bool json = false;
};

int spyShow(const SpyShowRequest &request) {
    SpyView view(request.filter);
    SpyObjects objects(request.filter);
    recording::RecordingParser parser([&](const recording::RecordEvent &event) {
        if (!request.json) {
            printOut(view.show(event));
        } else if (const auto object = objects.add(event); !object.is_null()) {
            printOut(jsonLine(object) + "\n");
        }
    });
    readLines(request.file, [&](std::string_view line) { parser.add(line); });
    orFail(request.file, [&] { parser.finish(); });
    if (request.json) {
        for (const auto &object : objects.finish()) {
            printOut(jsonLine(object) + "\n");
        }
    }
    return tellCutOff(request.file, parser.cutOff());
}

void addSpyShow(CLI::App &family, Invocation &invocation) {
    auto *const command = family.add_subcommand("show", "Show a recording, calls nested by indentation");
    const auto request = std::make_shared<SpyShowRequest>();
    command->add_option("FILE", request->file, "Recording of the spy")->required();
    command->add_option("--entry", request->filter.entryPoint, "Only calls of this entry point")
        ->type_name("NAME")
        ->check([](const std::string &name) {
            return comc::findEntryPoint(name) != nullptr ? std::string() : "comc.dll has no entry point '" + name + "'";
        });
    addNumber(*command, "--tid", request->filter.thread, "Only what happened on this thread", 0xFFFFFFFF);
    command->add_flag("--failures", request->filter.failures, "Only calls whose result is not 0");
    addJson(*command, request->json, "Print one JSON object per line, for each call and callback");
    command->footer("Examples:\n"
                    "  kal spy show recordings\\kal-20260305-140709-0a3c.jsonl\n"
                    "  kal spy show session.jsonl --failures\n"
                    "  kal spy show session.jsonl --entry OrxWritePrinter --json");
    command->callback([request, &invocation] { invocation.action = [request] { return spyShow(*request); }; });
}

// timeline

int spyTimeline(const std::string &input, const std::string &output) {
    OutputFile document(output);
    SpyTimeline timeline([&](std::string_view piece) { document.write(piece); });
    const recording::RecordingParser *self = nullptr;
    recording::RecordingParser parser(
        [&](const recording::RecordEvent &event) { timeline.add(event, self->header()); });
    self = &parser;
    readLines(input, [&](std::string_view line) { parser.add(line); });
    orFail(input, [&] { parser.finish(); });
    timeline.finish();
    document.commit();
    printOut(output + ": " + std::to_string(timeline.callCount()) + " calls");
    if (timeline.unfinishedCount() > 0) {
        printOut(", " + std::to_string(timeline.unfinishedCount()) + " without an end");
    }
    printOut("\nOpen it in https://ui.perfetto.dev or chrome://tracing.\n");
    return tellCutOff(input, parser.cutOff());
}

void addSpyTimeline(CLI::App &family, Invocation &invocation) {
    auto *const command = family.add_subcommand("timeline", "Turn a recording into a timeline of calls");
    struct SpyTimelineRequest {
        std::string input;
        std::string output;
    };
    const auto request = std::make_shared<SpyTimelineRequest>();
    command->add_option("FILE", request->input, "Recording of the spy")->required();
    command->add_option("OUT.json", request->output, "File to write, for Perfetto or chrome://tracing")->required();
    command->footer("Example:\n"
                    "  kal spy timeline session.jsonl calls.json");
    command->callback([request, &invocation] {
        invocation.action = [request] { return spyTimeline(request->input, request->output); };
    });
}

// diff

recording::Recording readWhole(const std::string &path) {
    recording::RecordingReader reader;
    readLines(path, [&](std::string_view line) { reader.add(line); });
    recording::Recording recording;
    orFail(path, [&] { recording = reader.finish(); });
    return recording;
}

struct DiffRequest {
    std::string left;
    std::string right;
    bool json = false;
};

int spyDiff(const DiffRequest &request) {
    const auto left = readWhole(request.left);
    const auto right = readWhole(request.right);
    const SpyDiff diff(left, right);
    if (request.json) {
        nlohmann::ordered_json object{{"equal", diff.isEqual()}, {"differences", nlohmann::ordered_json::array()}};
        for (const auto &difference : diff.differences()) {
            object["differences"].push_back(SpyDiff::object(difference));
        }
        printOut(jsonText(object));
    } else if (diff.isEqual()) {
        printOut("Equal: " + std::to_string(left.calls.size()) + " calls, " + std::to_string(left.callbacks.size()) +
                 " callbacks.\n");
    } else {
        printOut("--- " + request.left + "\n+++ " + request.right + "\n");
        for (const auto &difference : diff.differences()) {
            printOut(SpyDiff::describe(difference));
        }
        printOut(std::to_string(diff.differences().size()) + " differences in " + std::to_string(left.calls.size()) +
                 " and " + std::to_string(right.calls.size()) + " calls.\n");
    }
    const int leftStatus = tellCutOff(request.left, left.cutOff);
    const int rightStatus = tellCutOff(request.right, right.cutOff);
    return diff.isEqual() && leftStatus == succeeded && rightStatus == succeeded ? succeeded : failed;
}

void addDiff(CLI::App &family, Invocation &invocation) {
    auto *const command = family.add_subcommand("diff", "Compare two recordings call by call");
    const auto request = std::make_shared<DiffRequest>();
    command->add_option("A", request->left, "Recording of the spy")->required();
    command->add_option("B", request->right, "Another one")->required();
    addJson(*command, request->json);
    command->footer("Example:\n"
                    "  kal spy diff field.jsonl desk.jsonl\n"
                    "\n"
                    "Times, threads and addresses do not count. Exit status 1 when the recordings differ.");
    command->callback([request, &invocation] { invocation.action = [request] { return spyDiff(*request); }; });
}

} // namespace

void addSpyCommands(CLI::App &program, Invocation &invocation) {
    auto *const family = program.add_subcommand("spy", "Look at what the spy before comc.dll recorded");
    family->require_subcommand(1);
    family->footer("To record a program:\n"
                   "  1. in the folder of its kalclient.dll, rename comc.dll to comc-real.dll\n"
                   "  2. copy comc.dll and comc-recorder.dll from the SDK's folder spy to that folder\n"
                   "  3. run it: the recording is in the folder recordings there, one file per process\n"
                   "KAL_SPY_FOLDER names another folder; KAL_SPY_REDACT=1 leaves the bytes of documents out.\n"
                   "\n"
                   "Examples:\n"
                   "  kal spy show session.jsonl\n"
                   "  kal spy timeline session.jsonl calls.json\n"
                   "  kal spy diff field.jsonl desk.jsonl");
    addSpyShow(*family, invocation);
    addSpyTimeline(*family, invocation);
    addDiff(*family, invocation);
}

} // namespace tool
