// Any text as the file of what a virtual printer remembers, and any memory as such a file.
#include "simulator/printers/StoredPrinter.h"
#include "tests/fuzz/Input.h"

namespace {

simulator::StoredPrinter anyPrinter(fuzz::Input &input) {
    simulator::StoredPrinter printer;
    printer.isDiscovered = input.number<uint8_t>() % 2 == 1;
    printer.isDeleted = input.number<uint8_t>() % 2 == 1;
    printer.printingUntilMs = input.number<uint64_t>();
    while (!input.isEmpty()) {
        const auto kind = input.number<uint8_t>();
        const std::string name = input.text();
        switch (kind % 4) {
        case 0:
            printer.properties[name] = input.text();
            break;
        case 1:
            printer.properties[name] = input.number<uint32_t>();
            break;
        case 2:
            printer.properties[name] = input.bytes();
            break;
        default:
            printer.jobStrings[name] = input.text();
            break;
        }
    }
    return printer;
}

/// Texts from a client need not be UTF-8; what is written must be.
bool isAscii(const std::string &text) {
    return std::ranges::all_of(text, [](char character) { return static_cast<unsigned char>(character) < 0x80; });
}

bool isAscii(const simulator::StoredPrinter &printer) {
    return std::ranges::all_of(printer.properties,
                               [](const auto &property) {
                                   const auto *const text = std::get_if<std::string>(&property.second);
                                   return isAscii(property.first) && (text == nullptr || isAscii(*text));
                               }) &&
           std::ranges::all_of(printer.jobStrings,
                               [](const auto &string) { return isAscii(string.first) && isAscii(string.second); });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    fuzz::Input input(bytes, size);
    if (input.number<uint8_t>() % 2 == 0) {
        const auto printer = simulator::readStoredPrinter(input.remainingText());
        fuzz::require(simulator::readStoredPrinter(composeStoredPrinter(printer)) == printer,
                      "what was read survives being written");
        return 0;
    }
    const auto printer = anyPrinter(input);
    const auto again = simulator::readStoredPrinter(composeStoredPrinter(printer));
    fuzz::require(!isAscii(printer) || again == printer, "a memory survives being written");
    fuzz::require(again.printingUntilMs == printer.printingUntilMs && again.isDeleted == printer.isDeleted,
                  "no text makes the rest unreadable");
    fuzz::require(simulator::readStoredPrinter(composeStoredPrinter(again)) == again, "and is then settled");
    return 0;
}
