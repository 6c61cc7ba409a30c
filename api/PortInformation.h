#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace kal {

/// The properties of a found printer.
struct FoundPrinter {
    uint16_t handle;
    uint32_t portType;     ///< port-type code
    uint8_t macAddress[6]; ///< zero unless portType is NETTYPE_RHOA
    std::string_view name; ///< port name
    bool isCpdPrinter;
};

/// Size of the record of a printer with this second name, in bytes.
[[nodiscard]] size_t portInformationSize(std::string_view secondName) noexcept;

/// Fills a PortInfoRecord. @param record  portInformationSize(secondName) bytes, aligned like a PortInfoRecord
void composePortInformation(void *record, const FoundPrinter &printer, std::string_view secondName) noexcept;

/// Whether a caller's net-type mask accepts a printer found at a port. All named net types are bits of 0xFFF, and any
/// of these bits accepts every recognised port type: deliberately broad.
/// @return the line for the log if it is accepted, otherwise nothing
[[nodiscard]] std::optional<const char *> categoryOf(uint32_t portType, uint32_t netTypes,
                                                     std::string_view portName) noexcept;

} // namespace kal
