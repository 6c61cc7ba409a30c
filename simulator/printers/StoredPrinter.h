#pragma once

#include "simulator/configuration/Configuration.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace simulator {

/// The values of a printer that outlive the process.
struct StoredPrinter {
    std::map<std::string, PropertyValue> properties;
    std::map<std::string, std::string> jobStrings;
    bool isDiscovered = false;
    bool isDeleted = false;
    uint64_t printingUntilMs = 0; // system time in milliseconds since 1601

    bool operator==(const StoredPrinter &) const = default;
};

/// Writes JSON. Bytes of a string that are not UTF-8 are replaced.
[[nodiscard]] std::string composeStoredPrinter(const StoredPrinter &printer);

/// Returns an empty printer if the text does not describe one.
[[nodiscard]] StoredPrinter readStoredPrinter(std::string_view text);

} // namespace simulator
