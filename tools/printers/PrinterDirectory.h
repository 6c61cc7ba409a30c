/// Calls the library's enumerations and collects their results.
#pragma once

#include "api/kal.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tool {

/// A copy of an enumeration's record, with strings in UTF-8.
struct FoundPrinter {
    uint16_t handle = 0;
    uint16_t deviceClass = 0;
    uint32_t portType = 0;
    std::string portName;
    std::string secondName;
    std::array<uint8_t, 6> macAddress{};

    [[nodiscard]] bool hasMacAddress() const { return portType == NETTYPE_RHOA; }
    /// "00:02:B3:C4:D5:E6".
    [[nodiscard]] std::string macAddressText() const;
};

/// All connections that an enumeration supports.
inline constexpr uint32_t everyEnumerableKind = NETTYPE_IP | NETTYPEUSB | NETTYPE_LOCAL;

/// The printers in the order of the callbacks. Needs a registration; so does the next function.
std::vector<FoundPrinter> enumeratePrinters(uint32_t mask);

/// The printer at a port or, with isUnc, with a UNC name (UTF-8).
std::optional<FoundPrinter> findPrinter(const std::string &port, uint32_t mask, bool isUnc);

} // namespace tool
