#include "api/CallFrame.h"
#include "api/kal.h"
#include "service/OrxClient.h"

namespace kal {

namespace {

using OpenRecord = WorkerRecord<uint16_t, uint16_t, uint16_t>;

uint32_t openWorker(void *record) {
    return runWorker<OpenRecord>(record, "KalOpenRunnable()",
                                 [](OrxClient &client, uint16_t, uint16_t handle, uint16_t) {
                                     return standardResult(client.OpenPrinter(handle));
                                 });
}

} // namespace

} // namespace kal

using namespace kal;

extern "C" {

int32_t KalOpen(uint16_t first, uint16_t handle, uint16_t third) {
    return threadedCall<OpenRecord>(Description("KalOpen() handle =", handle), "KalOpen() exception=", openWorker,
                                    first, handle, third);
}

int32_t KalClose(uint16_t, uint16_t handle) {
    return inlineCall(Description("KalClose() handle=", handle), [&](CallTrace &trace, OrxClient &client) {
        return trace.named(closeResult(client.ClosePrinter(handle)));
    });
}

} // extern "C"
