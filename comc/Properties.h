/// The properties of a device: the descriptors that request them, and the values that have a meaning.
#pragma once

#include <algorithm>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace comc {

/// A property's name and descriptor. Does not compile if the descriptor names another property.
struct Property {
    consteval Property(const char *propertyName, const char *propertyDescriptor)
        : name(propertyName), descriptor(propertyDescriptor) {
        const std::string_view opening = "<Name>";
        if (!std::string_view(descriptor).substr(opening.size()).starts_with(name)) {
            throw "the descriptor names another property";
        }
    }

    const char *name;
    const char *descriptor;
};

// clang-format off
namespace property {
inline constexpr Property transport       {"Transport",    "<Name>Transport</Name><Type>String</Type><Access>ReadOnly</Access>"};
inline constexpr Property device          {"Device",       "<Name>Device</Name><Type>String</Type><Access>ReadOnly</Access>"};
inline constexpr Property macAddress      {"MacAddress",   "<Name>MacAddress</Name><Type>ByteArray</Type><Access>ReadOnly</Access>"};
inline constexpr Property portName        {"Portname",     "<Name>Portname</Name><Type>String</Type><Access>Writeable</Access>"};
inline constexpr Property endOfJobDuration{"TeojDuration", "<Name>TeojDuration</Name><Type>Long</Type><Access>Writeable</Access>"};
inline constexpr Property jobId           {"TripletJobId", "<Name>TripletJobId</Name><Type>ByteArray</Type><Access>Writeable</Access>"};
} // namespace property
// clang-format on

/// Values of the property "Device".
namespace device {
inline constexpr std::string_view cpdPrinter = "CpdPrinter";
inline constexpr std::string_view bpdPrinter = "BpdPrinter";
} // namespace device

/// Values of the property "Transport", which are also the transports of a search.
namespace transport {
inline constexpr const char *hostBased1 = "HBN1";
inline constexpr const char *hostBased3 = "HBN3";
inline constexpr const char *usb = "USB1";
inline constexpr const char *parallel = "PAR1";
inline constexpr const char *ipv4 = "IPv4";
} // namespace transport

/// The string in a buffer that the service filled. It ends at the terminator or at the end of the buffer: the length
/// that the service reports may or may not include a terminator.
[[nodiscard]] constexpr std::string_view propertyText(std::span<const char> buffer) noexcept {
    return {buffer.begin(), std::find(buffer.begin(), buffer.end(), '\0')};
}

/// The elements of "<Name>...</Name><Type>...</Type><Access>...</Access>".
struct PropertyDescriptor {
    std::string name;
    std::string type;   ///< String, Long or ByteArray; empty without the element
    std::string access; ///< ReadOnly or Writeable; empty without the element
};

/// Returns nothing for a string without a name element.
[[nodiscard]] std::optional<PropertyDescriptor> readDescriptor(std::string_view text);

} // namespace comc
