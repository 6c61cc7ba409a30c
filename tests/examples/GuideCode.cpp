#include "tests/examples/GuideCode.h"

namespace guide {

namespace {

FoundPort foundPort;

void takePort(const PortInfoRecord *printer) {
    foundPort = {true, printer->handle};
}

} // namespace

/// Finds the printer on a port, of any kind. Any bit of 0xFFF accepts every kind that the library knows; ENUM_P2P also
/// accepts unknown kinds.
FoundPort findPort(const char *portName) {
    foundPort = {};
    KalEnumSpecificPort(0, ENUM_P2P, portName, takePort);
    return foundPort;
}

std::optional<bool> isPrinting(uint16_t handle) {
    KalPrinterStatusRecord status = {};
    uint32_t needed = 0;
    if (KalQueryPrinterStatus(0, handle, 0, &status, sizeof status, &needed) != KAL_OKAY) {
        return std::nullopt; // the service does not know the state, or the handle
    }
    return status.isPrinting != 0;
}

/// Sends one of the stored requests. @return the printer's response; empty if there is none
std::vector<uint8_t> ask(uint16_t handle, uint16_t function) {
    std::vector<uint8_t> response(64);
    for (;;) {
        auto size = static_cast<uint32_t>(response.size()); // in: buffer size; out: bytes received, or needed
        const int32_t result = KalSendBidi(0, handle, 0, function, response.data(), &size, nullptr, 0);
        const bool isTooSmall = result == KAL_MOREDATA && size > response.size();
        response.resize(result == KAL_OKAY || isTooSmall ? size : 0);
        if (!isTooSmall) {
            return response;
        }
    }
}

} // namespace guide
