#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace kal {

/// What was read from the service about a printer that was found.
struct FoundPrinter {
    uint16_t handle;
    uint32_t portType;     ///< port-type code
    uint8_t macAddress[6]; ///< zero unless portType is NETTYPE_RHOA
    std::string_view name; ///< port name
    bool isCpdPrinter;
};

/// Bytes that the record of a printer with this second name needs.
[[nodiscard]] size_t portInformationSize(std::string_view secondName) noexcept;

/// Lays out a PortInfoRecord. @param record  portInformationSize(secondName) bytes, aligned as a PortInfoRecord
void composePortInformation(void *record, const FoundPrinter &printer, std::string_view secondName) noexcept;

/// Whether a caller's net-type mask accepts a printer found behind a port. Every named net type lies among the bits of
/// 0xFFF, so any of those bits accepts every recognised port type: deliberately broad.
/// @return what the log says when it does, else nothing
[[nodiscard]] std::optional<const char *> categoryOf(uint32_t portType, uint32_t netTypes,
                                                     std::string_view portName) noexcept;

} // namespace kal
