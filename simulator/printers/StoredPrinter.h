#pragma once

#include "simulator/configuration/Configuration.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace simulator {

/// What a printer remembers beyond the call that told it, the process included.
struct StoredPrinter {
    std::map<std::string, PropertyValue> properties;
    std::map<std::string, std::string> jobStrings;
    bool isDiscovered = false;
    bool isDeleted = false;
    uint64_t printingUntilMs = 0; // system time in milliseconds since 1601

    bool operator==(const StoredPrinter &) const = default;
};

/// JSON. Bytes of a string that are not UTF-8 are replaced.
[[nodiscard]] std::string composeStoredPrinter(const StoredPrinter &printer);

/// @return a printer that remembers nothing for a text that does not describe one.
[[nodiscard]] StoredPrinter readStoredPrinter(std::string_view text);

} // namespace simulator
