#include "tools/CommandLine.h"

#include "tools/text/NumberText.h"

#include <optional>

namespace tool {

namespace {

uint32_t readNumber(const std::string &name, const std::string &text, uint32_t limit) {
    const auto number = parseNumber(text, limit);
    if (!number) {
        throw CLI::ValidationError(name, "'" + text + "' is not a number from 0 to " + std::to_string(limit) +
                                             " (decimal, or hexadecimal after 0x)");
    }
    return *number;
}

template <class Number>
void store(Number &target, uint32_t number) {
    target = static_cast<Number>(number);
}

void store(std::optional<uint32_t> &target, uint32_t number) {
    target = number;
}

} // namespace

template <class Number>
CLI::Option *addNumber(CLI::App &command, const std::string &name, Number &target, const std::string &description,
                       uint32_t limit) {
    return command
        .add_option_function<std::string>(
            name, [name, &target, limit](const std::string &text) { store(target, readNumber(name, text, limit)); },
            description)
        ->type_name("N");
}

template CLI::Option *addNumber(CLI::App &, const std::string &, uint16_t &, const std::string &, uint32_t);
template CLI::Option *addNumber(CLI::App &, const std::string &, uint32_t &, const std::string &, uint32_t);
template CLI::Option *addNumber(CLI::App &, const std::string &, std::optional<uint32_t> &, const std::string &,
                                uint32_t);

CLI::Option *addHandle(CLI::App &command, const std::string &name, uint16_t &target) {
    return addNumber(command, name, target, "Printer handle, as `kal list` shows it", 0xFFFF)->required();
}

CLI::Option *addJson(CLI::App &command, bool &target, const std::string &description) {
    return command.add_flag("--json", target, description);
}

} // namespace tool
