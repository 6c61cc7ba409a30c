#include "api/BidiRequest.h"
#include "api/CallFrame.h"
#include "api/kal.h"
#include "service/OrxClient.h"

#include <algorithm>
#include <cstring>

namespace kal {

namespace {

/// The buffer for a response. *size is its size at first, then the number of bytes received.
struct ResponseBuffer {
    uint8_t *bytes;
    uint32_t *size;
};

/// Calls the service and closes the handle, even after a failure. @return the code of the exchange
uint32_t exchange(OrxClient &client, uint16_t handle, std::span<const uint8_t> request, const ResponseBuffer &response,
                  uint32_t &returnedLength) {
    const uint32_t code = client.ExchangeBidiPrinter(handle, request.data(), static_cast<uint32_t>(request.size()),
                                                     response.bytes, *response.size, &returnedLength);
    if (code != 0) {
        logTrace("exchangeBidiPrinter() returned ", code, ", failing");
    }
    if (const uint32_t closeCode = client.ClosePrinter(handle)) {
        logTrace("closePrinter() returned ", closeCode);
    }
    return code;
}

int32_t acceptResponse(CallTrace &trace, uint16_t function, const ResponseBuffer &response, uint32_t returnedLength) {
    const uint32_t length = std::min(returnedLength, *response.size);
    *response.size = function == rawBidiFunction ? length : dropBidiResponseHead(response.bytes, length);
    trace.setResult("KAL_OKAY, response=", HexBytes{{response.bytes, *response.size}});
    return KAL_OKAY;
}

int32_t refuseResponse(CallTrace &trace, uint32_t code, const ResponseBuffer &response, uint32_t returnedLength) {
    std::memset(response.bytes, 0, *response.size);
    const int32_t result = bidiResult(code);
    if (result != KAL_MOREDATA) {
        return trace.named(result);
    }
    trace.setResult("KAL_MOREDATA, ERROR_INSUFFICIENT_BUFFER, Response=", HexBytes{{response.bytes, *response.size}});
    if (returnedLength != 0) {
        *response.size = returnedLength;
    }
    return result;
}

int32_t sendBidi(CallTrace &trace, OrxClient &client, uint16_t handle, uint16_t function, std::span<const uint8_t> data,
                 const ResponseBuffer &response) {
    uint8_t room[bidiRequestSize] = {};
    const auto request = composeBidiRequest(function, data, room);
    if (!request) {
        return trace.numbered(KAL_INVALID_FUNCTION);
    }
    logTrace("sending ", HexBytes{*request});
    if (const uint32_t code = client.OpenPrinter(handle)) {
        logTrace("openPrinter() returned ", code, ", failing");
        *response.size = 0;
        return trace.named(DEVERR_INVHANDLE);
    }
    uint32_t returnedLength = 0;
    const uint32_t code = exchange(client, handle, *request, response, returnedLength);
    return code == 0 ? acceptResponse(trace, function, response, returnedLength)
                     : refuseResponse(trace, code, response, returnedLength);
}

} // namespace

} // namespace kal

using namespace kal;

extern "C" {

// NOLINTNEXTLINE(readability-non-const-parameter): in and out
int32_t KalSendBidi(uint16_t, uint16_t handle, uint16_t, uint16_t function, void *response, uint32_t *responseSize,
                    const void *data, uint16_t dataLength) {
    return inlineCall(
        Description("KalSendBidi() handle=", handle, " function=", function), [&](CallTrace &trace, OrxClient &client) {
            if (function == rawBidiFunction && data == nullptr && dataLength != 0) {
                return trace.nullArgument("KalSendBidi", "data");
            }
            uint8_t ownRoom[64] = {};
            uint32_t ownSize = sizeof ownRoom;
            const bool isWanted = response != nullptr && responseSize != nullptr;
            const ResponseBuffer buffer = isWanted ? ResponseBuffer{static_cast<uint8_t *>(response), responseSize}
                                                   : ResponseBuffer{ownRoom, &ownSize};
            const std::span<const uint8_t> bytes(static_cast<const uint8_t *>(data), data == nullptr ? 0u : dataLength);
            return sendBidi(trace, client, handle, function, bytes, buffer);
        });
}

} // extern "C"
