// The simulator's configuration file as anybody may have written it.
#include "simulator/configuration/Configuration.h"
#include "simulator/configuration/JsonDocument.h"
#include "simulator/configuration/MisbehaviourPlan.h"
#include "tests/fuzz/Input.h"

#include <set>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    fuzz::Input input(bytes, size);
    const std::string text = input.remainingText();
    try {
        const simulator::Configuration configuration = simulator::readConfiguration(text);
        std::set<uint16_t> handles;
        for (const auto &printer : configuration.printers) {
            fuzz::require(handles.insert(printer.handle).second, "each printer has a handle of its own");
        }
        for (const auto &entry : configuration.timeline) {
            fuzz::require(handles.contains(entry.handle), "what happens happens to a printer");
            fuzz::require(entry.alert.has_value() != entry.notification.has_value(), "one thing happens at a time");
        }
        for (const auto &[name, rules] : configuration.entryPoints) {
            static_cast<void>(simulator::decide(rules, 1));
            static_cast<void>(simulator::isMissing(rules));
        }
    } catch (const simulator::ConfigurationError &error) {
        const auto lines = static_cast<size_t>(std::ranges::count(text, '\n')) + 1;
        fuzz::require(error.line() >= 1 && error.line() <= lines, "an error stands in a line of the file");
        fuzz::require(error.column() >= 1 && error.column() <= text.size() + 1, "and in a column of it");
        fuzz::require(!std::string_view(error.what()).empty(), "an error says what is wrong");
    }
    return 0;
}
