/* Print jobs. */
#include "snippets.h"

/* [KalStartDoc] */
/* Prints a complete job on an open printer. */
int32_t print_text(uint16_t handle, const char *text, uint32_t left) {
    int32_t result = KalStartDoc(handle, KAL_PORT_TYPE_ANY, "A letter");
    if (result != KAL_OKAY) { /* never "below 0": KAL_FAIL is positive */
        return result;
    }
    while (result == KAL_OKAY && left > 0) {
        uint32_t count = left; /* in: bytes offered; out: bytes taken */
        result = KalWrite(0, handle, KAL_PORT_TYPE_ANY, text, &count);
        text += result == KAL_OKAY ? count : 0;
        left -= result == KAL_OKAY ? count : 0;
    }
    if (result == KAL_OKAY) {
        result = KalEndDoc(handle, KAL_PORT_TYPE_ANY);
    }
    if (result != KAL_OKAY) {
        KalCancelJob(0, handle); /* an incomplete letter must not be printed */
    }
    return result;
}
/* [KalStartDoc] */

/* [KalWrite] */
/* Offers *size bytes, several times if the service's buffer is full. Sets *size to the number of bytes taken. */
int32_t send_some(uint16_t handle, const char *data, uint32_t *size) {
    const uint32_t offered = *size;
    int32_t result = KAL_FAIL;
    for (int attempt = 0; result == KAL_FAIL && attempt < 5; ++attempt) {
        *size = offered;
        result = KalWrite(0, handle, KAL_PORT_TYPE_ANY, data, size); /* a full buffer: KAL_FAIL after 2 s */
    }
    if (result != KAL_OKAY) {
        *size = 0;
    }
    return result;
}
/* [KalWrite] */

/* [KalWriteOverlapped] */
int32_t send_as_older_programs_do(uint16_t handle, const void *data, uint32_t size) {
    uint32_t count = size;
    const int32_t result = KalWriteOverlapped(0, handle, KAL_PORT_TYPE_ANY, data, &count, 0);
    return result == KAL_OKAY && count < size ? KAL_FAIL : result; /* there is nothing to wait for */
}
/* [KalWriteOverlapped] */

/* [KalEndDoc] */
int32_t end_or_cancel(uint16_t handle) {
    const int32_t result = KalEndDoc(handle, KAL_PORT_TYPE_ANY);
    if (result != KAL_OKAY) {
        KalCancelJob(0, handle);
    }
    return result; /* KAL_OKAY: the service has the document; WM_KAL_ENDOFJOB reports the printed job */
}
/* [KalEndDoc] */

/* [KalCancelJob] */
/* Abandons a job. Pass the port_type that was passed to KalStartDoc. */
void give_up(uint16_t handle, uint32_t port_type) {
    if (KalCancelJob(0, handle) != KAL_OKAY) {
        KalEndDoc(handle, port_type); /* the service could not cancel the job: end it instead */
    }
    KalClose(0, handle);
}
/* [KalCancelJob] */
