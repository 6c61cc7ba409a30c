/* Open and close. */
#include "snippets.h"

/* [KalOpen] */
/* Opens a printer. If it is busy, tries for up to a minute. */
int32_t open_patiently(uint16_t handle) {
    int32_t result = KalOpen(0, handle, 0);
    for (int second = 0; result == KAL_PRNBUSY && second < 60; ++second) {
        Sleep(1000);
        result = KalOpen(0, handle, 0);
    }
    return result; /* after KAL_OKAY, call KalClose once */
}
/* [KalOpen] */

/* [KalClose] */
/* Closes every open that this process has of a printer. */
void close_wholly(uint16_t handle) {
    while (KalClose(0, handle) == KAL_OKAY) {
    }
}
/* [KalClose] */
