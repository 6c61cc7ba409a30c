#include "api/CallFrame.h"
#include "api/PortType.h"
#include "api/kal.h"
#include "service/OrxClient.h"

#include <atomic>

namespace kal {

namespace {

/// Number of bytes passed to KalWrite since the last start of a job, on any handle. Only for the trace; it may wrap.
std::atomic<uint32_t> totalByteCount = 0;

} // namespace

} // namespace kal

using namespace kal;

extern "C" {

int32_t KalStartDoc(uint16_t handle, uint32_t portType, const char *documentName) {
    return inlineCall(Description("KalStartDoc()  handle=", handle), [&](CallTrace &trace, OrxClient &client) {
        if (!portTypeFits(portType, handle)) {
            return trace.named(DEVERR_PROTOCOL);
        }
        totalByteCount.store(0, std::memory_order_relaxed);
        const char *const name = documentName == nullptr ? "" : documentName;
        return trace.named(standardResult(client.StartJobPrinter(handle, 0, "", "", name, "")));
    });
}

int32_t KalWrite(uint16_t, uint16_t handle, uint32_t portType, const void *data, uint32_t *byteCount) {
    const uint32_t requested = byteCount == nullptr ? 0 : *byteCount;
    // Deliberately before any check: a refused write counts too.
    const uint32_t total = totalByteCount.fetch_add(requested, std::memory_order_relaxed) + requested;
    return inlineCall(Description("KalWrite() handle=", handle, " byteCount=", requested, " totalByteCount=", total),
                      "orxClient=NULL", // deliberately without the full stop of the other messages
                      [&](CallTrace &trace, OrxClient &client) {
                          if (!portTypeFits(portType, handle)) {
                              return trace.named(DEVERR_PROTOCOL);
                          }
                          if (byteCount == nullptr) {
                              return trace.nullArgument("KalWrite", "byteCount");
                          }
                          if (data == nullptr && requested != 0) {
                              return trace.nullArgument("KalWrite", "data");
                          }
                          const int32_t result = writeResult(client.WritePrinter(handle, data, requested, byteCount));
                          trace.setResult(result, ", bytesWritten=", *byteCount);
                          return result;
                      });
}

int32_t KalWriteOverlapped(uint16_t first, uint16_t handle, uint32_t portType, const void *data, uint32_t *byteCount,
                           uint32_t) {
    const CallTrace trace{Description("KalWriteOverlapped() handle=", handle)};
    return KalWrite(first, handle, portType, data, byteCount);
}

int32_t KalEndDoc(uint16_t handle, uint32_t portType) {
    return inlineCall(Description("KalEndDoc() handle=", handle), [&](CallTrace &trace, OrxClient &client) {
        if (!portTypeFits(portType, handle)) {
            return trace.named(DEVERR_PROTOCOL);
        }
        return trace.named(standardResult(client.EndJobPrinter(handle)));
    });
}

int32_t KalCancelJob(uint16_t, uint16_t handle) {
    return inlineCall(Description("KalCancelJob() handle=", handle), [&](CallTrace &trace, OrxClient &client) {
        return trace.named(plainResult(client.CancelJobPrinter(handle)));
    });
}

} // extern "C"
