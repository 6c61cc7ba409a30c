#include "tools/CommandLine.h"

#include "tools/File.h"
#include "tools/Terminal.h"
#include "tools/printers/MessageWindow.h"
#include "tools/printers/PrinterMessages.h"
#include "tools/printers/Session.h"
#include "tools/text/JsonText.h"
#include "tools/text/Progress.h"
#include "tools/text/ResultNames.h"
#include "tools/text/Text.h"

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

namespace tool {

namespace {

using Clock = std::chrono::steady_clock;

/// Large enough to hide the cost of a call, small enough for frequent updates of the progress bar.
constexpr size_t chunkSize = size_t{4} * 1024 * 1024;
/// After this number of empty writes, with the pause below, the service is considered stuck.
constexpr int mostEmptyWrites = 100;
constexpr DWORD pauseAfterEmptyWrite = 50;
constexpr auto repaintInterval = std::chrono::milliseconds(100);

struct PrintRequest {
    uint16_t handle = 0;
    uint32_t portType = KAL_PORT_TYPE_UNSPECIFIED;
    std::string file;
    bool quiet = false;
    bool wait = false;
    uint32_t timeout = 300;
    bool json = false;
};

double secondsSince(Clock::time_point begin) {
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

/// A job that the destructor cancels unless it was ended.
class PrintJob {
  public:
    PrintJob(uint16_t handle, uint32_t portType, const std::string &documentName)
        : handle_(handle), portType_(portType) {
        require("KalStartDoc", KalStartDoc(handle, portType, toNarrow(documentName).c_str()));
    }
    ~PrintJob() {
        if (open_) {
            KalCancelJob(0, handle_);
        }
    }
    PrintJob(const PrintJob &) = delete;
    PrintJob &operator=(const PrintJob &) = delete;

    /// Sends all of the data; repeats the part that the service did not take.
    void write(std::span<const char> data, const Interruption &interruption) const {
        int emptyWrites = 0;
        while (!data.empty()) {
            if (interruption.requested()) {
                throw CommandFailure("interrupted; the job was cancelled");
            }
            auto count = static_cast<uint32_t>(data.size());
            if (const int32_t result = KalWrite(0, handle_, portType_, data.data(), &count); result != KAL_OKAY) {
                throw CommandFailure("KalWrite answered " + describeResult(result) + "; the job was cancelled");
            }
            if (count > data.size()) {
                throw CommandFailure("KalWrite reports more bytes than it was given; the job was cancelled");
            }
            if (count > 0) {
                emptyWrites = 0;
            } else if (++emptyWrites == mostEmptyWrites) {
                throw CommandFailure("the service takes no more data; the job was cancelled");
            } else {
                WaitForSingleObject(interruption.event(), pauseAfterEmptyWrite);
            }
            data = data.subspan(count);
        }
    }

    void end() {
        require("KalEndDoc", KalEndDoc(handle_, portType_));
        open_ = false;
    }

  private:
    uint16_t handle_;
    uint32_t portType_;
    bool open_ = true;
};

struct Sent {
    uint64_t bytes = 0;
    double seconds = 0;
};

Sent sendDocument(const PrintRequest &request, InputFile &file, const Interruption &interruption) {
    std::vector<char> buffer(chunkSize);
    // Read before the job starts, so that a file that cannot be read does not leave a job.
    size_t filled = file.read(buffer);
    if (filled == 0) {
        throw CommandFailure(request.file + " is empty; nothing was sent");
    }
    const uint64_t total = file.size();
    const auto begin = Clock::now();
    auto painted = begin - repaintInterval;
    Sent sent;
    std::optional<StatusLine> status;
    if (!request.quiet) {
        status.emplace();
    }
    PrintJob job(request.handle, request.portType, std::string(fileNameOf(request.file)));
    while (filled > 0) {
        job.write({buffer.data(), filled}, interruption);
        sent.bytes += filled;
        if (status && Clock::now() - painted >= repaintInterval) {
            painted = Clock::now();
            status->show(progressLine(sent.bytes, total, secondsSince(begin)));
        }
        filled = filled == buffer.size() ? file.read(buffer) : 0;
    }
    job.end();
    sent.seconds = secondsSince(begin);
    return sent;
}

/// @return the end-of-job flag
uint16_t waitForEndOfJob(const PrintRequest &request, MessageWindow &window, const Interruption &interruption) {
    const auto deadline = Clock::now() + std::chrono::seconds(request.timeout);
    while (const auto posted = window.next(deadline, interruption.event())) {
        const auto message = decodeMessage(posted->message, posted->wParam, posted->lParam);
        if (!message || message->handle != request.handle) {
            continue;
        }
        if (message->content == MessageContent::endOfJobFlag) {
            return message->value;
        }
        if (!request.quiet && message->content == MessageContent::printerState) {
            printError("kal: the printer's state is now: " + printerStateName(message->value) + "\n");
        }
    }
    throw CommandFailure(interruption.requested() ? "interrupted; the document was sent, its end was not waited for"
                                                  : "the document was sent, but no end of job was reported within " +
                                                        std::to_string(request.timeout) + " s");
}

int print(const PrintRequest &request, const Invocation &invocation) {
    InputFile file(request.file);
    const Interruption interruption;
    const Registration registration(invocation);
    const OpenPrinter printer(request.handle);

    // Made before the job starts, so that the end of even the shortest job is noticed.
    std::optional<MessageWindow> window;
    std::optional<Capture> capture;
    if (request.wait) {
        constexpr uint32_t noAlerts = 0;
        window.emplace();
        capture.emplace(request.handle, noAlerts, window->window());
    }
    const Sent sent = sendDocument(request, file, interruption);
    std::optional<uint16_t> flag;
    if (request.wait) {
        if (!request.quiet && !request.json) {
            printOut(summaryLine(request.file, sent.bytes, sent.seconds) + "\n");
        }
        flag = waitForEndOfJob(request, *window, interruption);
    }
    if (request.json) {
        nlohmann::ordered_json object{
            {"file", request.file}, {"handle", request.handle}, {"bytes", sent.bytes}, {"seconds", sent.seconds}};
        if (flag) {
            object["endOfJobFlag"] = *flag;
        }
        printOut(jsonText(object));
    } else if (!request.quiet) {
        printOut(flag ? "The printer reports the end of the job (flag " + std::to_string(*flag) + ").\n"
                      : summaryLine(request.file, sent.bytes, sent.seconds) + "\n");
    }
    return succeeded;
}

int cancel(uint16_t handle, const std::optional<uint32_t> &jobId, const Invocation &invocation) {
    const Registration registration(invocation);
    const OpenPrinter printer(handle);
    if (jobId) {
        require("KalSetJobCancelMode", KalSetJobCancelMode(0, handle, static_cast<int32_t>(*jobId)));
    }
    const int32_t result = KalCancelJob(0, handle);
    require("KalCancelJob", result);
    printOut("KalCancelJob answered " + describeResult(result) + "\n");
    return succeeded;
}

void addPrint(CLI::App &program, Invocation &invocation) {
    auto *const command = program.add_subcommand("print", "Send a document to a printer");
    const auto request = std::make_shared<PrintRequest>();
    addHandle(*command, "--printer", request->handle);
    addNumber(
        *command, "--port-type", request->portType,
        "Port type of the handle: 2 IPv4, 512 HBN, 1024 USB, 2048 parallel; 0 and 4095 are valid for every handle",
        0xFFFFFFFF);
    command->add_option("FILE", request->file, "The document, sent unchanged")->required();
    command->add_flag("--quiet", request->quiet, "No progress and no summary");
    command->add_flag("--wait", request->wait, "Wait until the printer reports the true end of the job");
    addNumber(*command, "--timeout", request->timeout, "Seconds to wait at most, counted from the end of the data",
              1000000);
    addJson(*command, request->json, "Print the summary as JSON");
    command->footer(
        "Examples:\n"
        "  kal print --printer 0x6001 report.pdf\n"
        "  kal print --printer 3 --port-type 1024 --quiet label.prn\n"
        "  kal print --printer 0x6001 --wait --timeout 60 report.pdf\n"
        "\n"
        "A file that cannot be read is not sent at all. When sending fails half-way, or on Ctrl-C, the job\n"
        "is cancelled.");
    command->callback(
        [request, &invocation] { invocation.action = [request, &invocation] { return print(*request, invocation); }; });
}

void addCancel(CLI::App &program, Invocation &invocation) {
    auto *const command = program.add_subcommand("cancel", "Cancel the job on a printer");
    struct CancelRequest {
        uint16_t handle = 0;
        std::optional<uint32_t> jobId;
    };
    const auto request = std::make_shared<CancelRequest>();
    addHandle(*command, "HANDLE", request->handle);
    addNumber(*command, "--job", request->jobId, "Job id, 1 or more, that the cancel refers to", 0x7FFFFFFF);
    command->footer("Examples:\n"
                    "  kal cancel 0x6001\n"
                    "  kal cancel 0x6001 --job 17");
    command->callback([request, &invocation] {
        invocation.action = [request, &invocation] { return cancel(request->handle, request->jobId, invocation); };
    });
}

} // namespace

void addPrintCommands(CLI::App &program, Invocation &invocation) {
    addPrint(program, invocation);
    addCancel(program, invocation);
}

} // namespace tool
