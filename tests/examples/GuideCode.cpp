#include "tests/examples/GuideCode.h"

namespace guide {

namespace {

FoundPort foundPort;

void takePort(const PortInfoRecord *printer) {
    foundPort = {true, printer->handle};
}

} // namespace

/// The printer behind a port, whatever its kind: any bit of 0xFFF accepts every kind that the library knows, ENUM_P2P
/// also those that it does not.
FoundPort findPort(const char *portName) {
    foundPort = {};
    KalEnumSpecificPort(0, ENUM_P2P, portName, takePort);
    return foundPort;
}

std::optional<bool> isPrinting(uint16_t handle) {
    KalPrinterStatusRecord status = {};
    uint32_t needed = 0;
    if (KalQueryPrinterStatus(0, handle, 0, &status, sizeof status, &needed) != KAL_OKAY) {
        return std::nullopt; // the service cannot tell, an unknown handle included
    }
    return status.isPrinting != 0;
}

/// The printer's answer to one of the stored requests; empty when there is none.
std::vector<uint8_t> ask(uint16_t handle, uint16_t function) {
    std::vector<uint8_t> response(64);
    for (;;) {
        auto size = static_cast<uint32_t>(response.size()); // in: room; out: bytes received, or needed
        const int32_t result = KalSendBidi(0, handle, 0, function, response.data(), &size, nullptr, 0);
        const bool isTooSmall = result == KAL_MOREDATA && size > response.size();
        response.resize(result == KAL_OKAY || isTooSmall ? size : 0);
        if (!isTooSmall) {
            return response;
        }
    }
}

} // namespace guide
