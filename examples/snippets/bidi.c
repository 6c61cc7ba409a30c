/* Bidirectional requests. */
#include "snippets.h"

/* [KalSendBidi] */
/* Sends a stored request. *size in: size of the buffer; out: bytes received, or with KAL_MOREDATA bytes needed. */
int32_t ask_stored_request(uint16_t handle, uint16_t function, uint8_t *response, uint32_t *size) {
    const uint32_t room = *size;
    int32_t result = KalSendBidi(0, handle, 0, function, response, size, NULL, 0);
    if (result == KAL_PRNBUSY) { /* another request is running: try again later */
        Sleep(500);
        *size = room;
        result = KalSendBidi(0, handle, 0, function, response, size, NULL, 0);
    }
    return result;
}
/* [KalSendBidi] */
