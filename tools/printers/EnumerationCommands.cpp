#include "tools/CommandLine.h"

#include "tools/Terminal.h"
#include "tools/printers/PrinterDirectory.h"
#include "tools/printers/PrinterMessages.h"
#include "tools/printers/Session.h"
#include "tools/text/JsonText.h"
#include "tools/text/NumberText.h"
#include "tools/text/Text.h"

#include <algorithm>
#include <memory>
#include <vector>

namespace tool {

namespace {

std::string_view className(uint16_t deviceClass) {
    return deviceClass == KAL_DEVICE_CLASS_CPD ? "CPD" : "BPD";
}

nlohmann::ordered_json toJson(const FoundPrinter &printer) {
    nlohmann::ordered_json object{{"handle", printer.handle},
                                  {"portName", printer.portName},
                                  {"secondName", printer.secondName},
                                  {"portType", printer.portType},
                                  {"portTypeName", portTypeName(printer.portType)},
                                  {"deviceClass", printer.deviceClass},
                                  {"deviceClassName", className(printer.deviceClass)}};
    if (printer.hasMacAddress()) {
        object["macAddress"] = printer.macAddressText();
    }
    return object;
}

std::string padded(std::string text, size_t width) {
    text.append(width - std::min(width, text.size()), ' ');
    return text;
}

std::string tableText(const std::vector<FoundPrinter> &printers) {
    std::string table = "HANDLE  CLASS  CONNECTION      PORT\n";
    for (const FoundPrinter &printer : printers) {
        table += hexNumber(printer.handle, 4) + "  " + padded(std::string(className(printer.deviceClass)), 5) + "  " +
                 padded(portTypeName(printer.portType), 14) + "  " + printable(printer.portName);
        if (printer.secondName != printer.portName) {
            table += " (" + printable(printer.secondName) + ")";
        }
        if (printer.hasMacAddress()) {
            table += "  MAC " + printer.macAddressText();
        }
        table += "\n";
    }
    return table;
}

void show(const std::vector<FoundPrinter> &printers, bool json) {
    if (json) {
        auto array = nlohmann::ordered_json::array();
        for (const FoundPrinter &printer : printers) {
            array.push_back(toJson(printer));
        }
        printOut(jsonText(array));
    } else if (printers.empty()) {
        printOut("No printers found.\n");
        printError(
            "kal: an enumeration that fails also finds nothing; `kal doctor` shows whether the service responds\n");
    } else {
        printOut(tableText(printers));
    }
}

struct ListRequest {
    bool all = false;
    bool usb = false;
    bool network = false;
    bool parallel = false;
    bool discover = false;
    bool json = false;
};

uint32_t maskFor(const ListRequest &request) {
    uint32_t mask =
        (request.network ? NETTYPE_IP : 0) | (request.usb ? NETTYPEUSB : 0) | (request.parallel ? NETTYPE_LOCAL : 0);
    if (mask == 0 || request.all) {
        mask = everyEnumerableKind;
    }
    return mask | (request.discover ? KAL_DISCOVER_FIRST : 0);
}

int list(const ListRequest &request, const Invocation &invocation) {
    const Registration registration(invocation);
    show(enumeratePrinters(maskFor(request)), request.json);
    return succeeded;
}

struct FindRequest {
    std::string port;
    uint32_t mask = KAL_PORT_TYPE_ANY;
    bool unc = false;
    bool json = false;
};

int find(const FindRequest &request, const Invocation &invocation) {
    const Registration registration(invocation);
    const auto printer = findPrinter(request.port, request.mask, request.unc);
    if (!printer) {
        throw CommandFailure("no printer was found behind port " + request.port);
    }
    if (request.json) {
        printOut(jsonText(toJson(*printer)));
    } else {
        printOut(tableText({*printer}));
    }
    return succeeded;
}

void addList(CLI::App &program, Invocation &invocation) {
    auto *const command = program.add_subcommand("list", "List the printers that the service knows");
    const auto request = std::make_shared<ListRequest>();
    command->add_flag("--all", request->all, "Printers of every connection (the default)");
    command->add_flag("--usb", request->usb, "USB printers");
    command->add_flag("--network", request->network, "Network printers");
    command->add_flag("--parallel", request->parallel, "Printers on parallel ports");
    command->add_flag("--discover", request->discover, "Look for new USB and parallel devices first");
    addJson(*command, request->json);
    command->footer("Examples:\n"
                    "  kal list\n"
                    "  kal list --usb --discover\n"
                    "  kal list --network --json");
    command->callback(
        [request, &invocation] { invocation.action = [request, &invocation] { return list(*request, invocation); }; });
}

void addFind(CLI::App &program, Invocation &invocation) {
    auto *const command = program.add_subcommand("find", "Find the printer on a port");
    const auto request = std::make_shared<FindRequest>();
    command->add_option("PORT", request->port, "The port's name as the service knows it")->required();
    addNumber(*command, "--types", request->mask,
              "Connections to accept: any of 2 IPv4, 512 HBN, 1024 USB, 2048 parallel added up; 16 unknown ones too",
              0xFFFFFFFF);
    command->add_flag("--unc", request->unc, "PORT is a UNC name");
    addJson(*command, request->json);
    command->footer("Examples:\n"
                    "  kal find LPT1\n"
                    "  kal find USB001 --json\n"
                    "  kal find \\\\server\\printer --unc");
    command->callback(
        [request, &invocation] { invocation.action = [request, &invocation] { return find(*request, invocation); }; });
}

} // namespace

void addEnumerationCommands(CLI::App &program, Invocation &invocation) {
    addList(program, invocation);
    addFind(program, invocation);
}

} // namespace tool
