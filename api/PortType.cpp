#include "api/PortType.h"

#include "api/kal.h"
#include "comc/Properties.h"
#include "platform/Ascii.h"

#include <algorithm>

namespace kal {

namespace {

/// Bits 11 to 14 of a handle.
enum ConnectionKind : uint16_t {
    connectionKindMask = 0x7800,
    kind1000 = 0x1000,
    kind4000 = 0x4000,
    kind4800 = 0x4800,
    kind6000 = 0x6000,
};

struct TransportRow {
    std::string_view name;
    uint32_t portType;
};

constexpr TransportRow transports[] = {
    {comc::transport::hostBased1, NETTYPE_RHOA}, {comc::transport::hostBased3, NETTYPE_RHOA},
    {comc::transport::usb, NETTYPEUSB},          {comc::transport::parallel, NETTYPE_LOCAL},
    {comc::transport::ipv4, NETTYPE_IP},
};

} // namespace

bool portTypeFits(uint32_t portType, uint16_t handle) noexcept {
    const uint16_t kind = handle & connectionKindMask;
    switch (portType) {
    case KAL_PORT_TYPE_UNSPECIFIED:
    case NETTYPEUSB:
    case KAL_PORT_TYPE_ANY:
        return true;
    case NETTYPE_IP:
        return kind == kind6000;
    case NETTYPE_RHOA:
        return kind == kind4000 || kind == kind4800 || kind == kind1000 || kind == kind6000;
    case NETTYPE_LOCAL:
        return kind == kind1000 || kind == kind6000;
    default:
        return false;
    }
}

uint32_t portTypeOfTransport(std::string_view transport) noexcept {
    const auto *const row = std::ranges::find_if(
        transports, [&](const TransportRow &each) { return equalIgnoringCase(each.name, transport); });
    return row == std::end(transports) ? KAL_PORT_TYPE_UNSPECIFIED : row->portType;
}

} // namespace kal
