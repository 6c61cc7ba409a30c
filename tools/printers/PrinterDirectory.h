/// The library's enumerations with their callbacks turned into values.
#pragma once

#include "api/kal.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tool {

/// A copy of what an enumeration reports; the texts are UTF-8.
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

/// Every connection that an enumeration can ask for.
inline constexpr uint32_t everyEnumerableKind = NETTYPE_IP | NETTYPEUSB | NETTYPE_LOCAL;

/// The printers in the order in which they are reported. Needs a registration, as the next does.
std::vector<FoundPrinter> enumeratePrinters(uint32_t mask);

/// The printer behind a port or, with isUnc, behind a UNC name (UTF-8).
std::optional<FoundPrinter> findPrinter(const std::string &port, uint32_t mask, bool isUnc);

} // namespace tool
