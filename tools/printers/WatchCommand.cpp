#include "tools/CommandLine.h"

#include "tools/Terminal.h"
#include "tools/printers/MessageWindow.h"
#include "tools/printers/PrinterDirectory.h"
#include "tools/printers/PrinterMessages.h"
#include "tools/printers/Session.h"
#include "tools/text/HexText.h"
#include "tools/text/JsonText.h"
#include "tools/text/NumberText.h"

#include <algorithm>
#include <cstdio>
#include <list>
#include <memory>
#include <optional>
#include <vector>

namespace tool {

namespace {

/// One bit selects all alerts of a CpdPrinter; it must not be set for other printers.
constexpr uint32_t allAlertsOfCpd = 0x400000;
constexpr uint32_t allAlertsOfBpd = 0xFFFFFFFF & ~allAlertsOfCpd;

struct WatchRequest {
    std::vector<std::string> handles;
    std::optional<uint32_t> mask;
    std::optional<uint32_t> count;
    std::optional<uint32_t> seconds;
    bool json = false;
};

std::vector<uint8_t> alertBytes(uint16_t alertId) {
    std::vector<uint8_t> bytes(0xFFFF);
    auto size = static_cast<uint16_t>(bytes.size());
    if (KalQueryAlerts(0, alertId, 0, 0, bytes.data(), &size) != KAL_OKAY) {
        return {};
    }
    bytes.resize(size);
    return bytes;
}

std::string localTime() {
    SYSTEMTIME now;
    GetLocalTime(&now);
    char text[32];
    std::snprintf(text, sizeof text, "%02u:%02u:%02u.%03u", now.wHour, now.wMinute, now.wSecond, now.wMilliseconds);
    return text;
}

void show(const PrinterMessage &message, bool json) {
    std::vector<uint8_t> bytes;
    if (message.content == MessageContent::alertId) {
        bytes = alertBytes(message.value);
    }
    if (json) {
        nlohmann::ordered_json object{{"time", localTime()}, {"message", message.name}, {"handle", message.handle}};
        switch (message.content) {
        case MessageContent::alertId:
            object["alertId"] = message.value;
            object["bytes"] = hexBytes(bytes);
            break;
        case MessageContent::printerState:
            object["state"] = message.value;
            object["stateName"] = printerStateName(message.value);
            break;
        case MessageContent::endOfJobFlag:
            object["flag"] = message.value;
            object["portType"] = message.portType;
            break;
        }
        printOut(jsonLine(object) + "\n");
    } else {
        std::string line = localTime() + "  " + hexNumber(message.handle, 4) + "  " + std::string(message.name) + "  " +
                           std::string(message.meaning) + ": " + describeValue(message);
        if (!bytes.empty()) {
            line += "  " + hexBytes(bytes);
        }
        printOut(line + "\n");
    }
    std::fflush(stdout);
}

struct WatchedPrinter {
    uint16_t handle;
    uint32_t mask;
};

/// The requested printers, or all that the service knows, each with the mask for its kind.
std::vector<WatchedPrinter> choosePrinters(const WatchRequest &request) {
    const auto known = enumeratePrinters(everyEnumerableKind);
    const auto maskOf = [&](uint16_t handle) {
        if (request.mask) {
            return *request.mask;
        }
        const auto found = std::ranges::find(known, handle, &FoundPrinter::handle);
        const bool isCpd = found != known.end() && found->deviceClass == KAL_DEVICE_CLASS_CPD;
        return isCpd ? allAlertsOfCpd : allAlertsOfBpd;
    };
    std::vector<WatchedPrinter> printers;
    const auto add = [&](uint16_t handle) {
        // Each printer once: releasing one of two captures would end both.
        if (std::ranges::find(printers, handle, &WatchedPrinter::handle) == printers.end()) {
            printers.push_back({handle, maskOf(handle)});
        }
    };
    for (const std::string &text : request.handles) {
        add(static_cast<uint16_t>(*parseNumber(text, 0xFFFF)));
    }
    if (request.handles.empty()) {
        for (const FoundPrinter &printer : known) {
            add(printer.handle);
        }
    }
    if (printers.empty()) {
        throw CommandFailure("the service knows no printer to watch");
    }
    return printers;
}

int watch(const WatchRequest &request, const Invocation &invocation) {
    const Interruption interruption;
    const Registration registration(invocation);
    MessageWindow window;
    std::list<Capture> captures;
    for (const WatchedPrinter &printer : choosePrinters(request)) {
        captures.emplace_back(printer.handle, printer.mask, window.window());
    }
    if (outputIsTerminal()) {
        printError("kal: watching " + std::to_string(captures.size()) +
                   (captures.size() == 1 ? " printer" : " printers") + "; Ctrl-C ends\n");
    }
    const auto deadline = MessageWindow::Clock::now() +
                          (request.seconds ? std::chrono::seconds(*request.seconds) : std::chrono::hours(24 * 365));
    for (uint32_t shown = 0; !request.count || shown < *request.count;) {
        const auto posted = window.next(deadline, interruption.event());
        if (!posted) {
            break;
        }
        if (const auto message = decodeMessage(posted->message, posted->wParam, posted->lParam)) {
            show(*message, request.json);
            ++shown;
        }
    }
    return succeeded;
}

} // namespace

void addWatchCommand(CLI::App &program, Invocation &invocation) {
    auto *const command = program.add_subcommand("watch", "Show alerts and state changes as they arrive");
    const auto request = std::make_shared<WatchRequest>();
    command->add_option("HANDLE", request->handles, "Printers to watch; all that the service lists when none is named")
        ->check([](const std::string &text) {
            return parseNumber(text, 0xFFFF) ? std::string() : "'" + text + "' is not a printer handle";
        });
    addNumber(*command, "--mask", request->mask, "Alerts wanted, as a client alert mask; all of them by default",
              0xFFFFFFFF);
    addNumber(*command, "--count", request->count, "End after this number of messages", 0xFFFFFFFF);
    addNumber(*command, "--seconds", request->seconds, "End after this number of seconds", 0xFFFFFF);
    addJson(*command, request->json, "Print one JSON object per line");
    command->footer("Examples:\n"
                    "  kal watch\n"
                    "  kal watch 0x6001 3 --seconds 60\n"
                    "  kal watch 3 --count 1 --json\n"
                    "\n"
                    "Ctrl-C ends it; the printers are released then.");
    command->callback(
        [request, &invocation] { invocation.action = [request, &invocation] { return watch(*request, invocation); }; });
}

} // namespace tool
