#include "api/CallFrame.h"
#include "api/kal.h"
#include "service/OrxClient.h"

using namespace kal;

extern "C" {

int32_t KalOpen(uint16_t first, uint16_t handle, uint16_t third) {
    return threadedCall(
        Description("KalOpen() handle =", handle), {"KalOpenRunnable()", "KalOpen() exception="},
        [](OrxClient &client, uint16_t, uint16_t printer, uint16_t) {
            return standardResult(client.OpenPrinter(printer));
        },
        first, handle, third);
}

int32_t KalClose(uint16_t, uint16_t handle) {
    return inlineCall(Description("KalClose() handle=", handle), [&](CallTrace &trace, OrxClient &client) {
        return trace.named(closeResult(client.ClosePrinter(handle)));
    });
}

} // extern "C"
