/* Open and close. */
#include "snippets.h"

/* [KalOpen] */
/* Opens a printer; waits up to a minute for one that is busy. */
int32_t open_patiently(uint16_t handle) {
    int32_t result = KalOpen(0, handle, 0);
    for (int second = 0; result == KAL_PRNBUSY && second < 60; ++second) {
        Sleep(1000);
        result = KalOpen(0, handle, 0);
    }
    return result; /* KAL_OKAY: one KalClose is owed */
}
/* [KalOpen] */

/* [KalClose] */
/* Gives back every open that this process has of a printer. */
void close_wholly(uint16_t handle) {
    while (KalClose(0, handle) == KAL_OKAY) {
    }
}
/* [KalClose] */
