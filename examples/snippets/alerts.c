/* Alerts and status. */
#include "snippets.h"

/* [KalCaptureAlerts] */
/* To a window of a class of its own: the messages lie above WM_USER. */
int32_t hear_of_alerts(uint16_t handle, HWND window) {
    const uint32_t every_alert = 0xFFFFFFFF & ~0x400000u; /* of a BpdPrinter; for a CpdPrinter 0x400000 alone */
    return KalCaptureAlerts(0, handle, &every_alert, window);
}
/* [KalCaptureAlerts] */

/* [KalReleaseAlerts] */
/* For a program that alone in its process uses this printer. */
void hear_no_more(uint16_t handle) {
    KalReleaseAlerts(0, handle); /* ends notifications as well: no KalSetJobControlMode with mode 1 after this */
    while (KalClose(0, handle) == KAL_OKAY) { /* what a mode 2 that failed has left open */
    }
}
/* [KalReleaseAlerts] */

/* [KalQueryAlerts] */
/* What a window procedure does with an alert's message. Returns the bytes in the buffer; 0: no such alert, or it is
 * longer than the buffer. */
uint16_t take_message(UINT message, WPARAM wParam, uint8_t *alert, uint16_t size) {
    if (message == WM_KAL_PRINTERSTATUS || message == WM_KAL_ENDOFJOB) {
        return 0; /* these two bring a state, or a flag, and no alert */
    }
    const uint16_t alert_id = HIWORD(wParam);
    return KalQueryAlerts(0, alert_id, 0, 0, alert, &size) == KAL_OKAY ? size : 0;
}
/* [KalQueryAlerts] */

/* [KalQueryPrinterStatus] */
/* 1: prints; 0: does not; -1: nobody knows. */
int is_printing(uint16_t handle) {
    KalPrinterStatusRecord status;
    uint32_t needed = 0;
    const int32_t result = KalQueryPrinterStatus(0, handle, 0, &status, sizeof status, &needed);
    return result == KAL_OKAY ? status.isPrinting != 0 : -1;
}
/* [KalQueryPrinterStatus] */
