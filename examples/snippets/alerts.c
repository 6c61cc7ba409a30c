/* Alerts and status. */
#include "snippets.h"

/* [KalCaptureAlerts] */
/* The window needs its own window class, because the message numbers are above WM_USER. */
int32_t hear_of_alerts(uint16_t handle, HWND window) {
    const uint32_t every_alert = 0xFFFFFFFF & ~0x400000u; /* for a BpdPrinter; for a CpdPrinter only 0x400000 */
    return KalCaptureAlerts(0, handle, &every_alert, window);
}
/* [KalCaptureAlerts] */

/* [KalReleaseAlerts] */
/* Only if no other code in the process uses this printer. */
void hear_no_more(uint16_t handle) {
    KalReleaseAlerts(0, handle); /* also ends notifications: do not call KalSetJobControlMode with mode 1 after it */
    while (KalClose(0, handle) == KAL_OKAY) { /* closes what a failed mode 2 left open */
    }
}
/* [KalReleaseAlerts] */

/* [KalQueryAlerts] */
/* For a window procedure: fetches the alert of a message. Returns the number of bytes in the buffer; 0 if there is no
 * such alert, or if it is longer than the buffer. */
uint16_t take_message(UINT message, WPARAM wParam, uint8_t *alert, uint16_t size) {
    if (message == WM_KAL_PRINTERSTATUS || message == WM_KAL_ENDOFJOB) {
        return 0; /* these two have a state or a flag, and no alert */
    }
    const uint16_t alert_id = HIWORD(wParam);
    return KalQueryAlerts(0, alert_id, 0, 0, alert, &size) == KAL_OKAY ? size : 0;
}
/* [KalQueryAlerts] */

/* [KalQueryPrinterStatus] */
/* 1: printing; 0: not printing; -1: unknown. */
int is_printing(uint16_t handle) {
    KalPrinterStatusRecord status;
    uint32_t needed = 0;
    const int32_t result = KalQueryPrinterStatus(0, handle, 0, &status, sizeof status, &needed);
    return result == KAL_OKAY ? status.isPrinting != 0 : -1;
}
/* [KalQueryPrinterStatus] */
