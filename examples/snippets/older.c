/* Exports for older applications, and what to call instead. */
#include "snippets.h"

/* [KalFlushMWOBuffer] */
int32_t finish_writing(uint16_t handle) {
    KalFlushMWOBuffer(); /* not needed: KalWrite returns after the service has taken the data */
    return KalEndDoc(handle, KAL_PORT_TYPE_ANY);
}
/* [KalFlushMWOBuffer] */

/* [KalUninstallORX] */
/* [KalPrepareRhoaForUninstall] */
int32_t prepare_removal(void) {
    KalPrepareRhoaForUninstall();
    return KalUninstallORX(); /* KAL_OKAY; the service has its own uninstaller */
}
/* [KalPrepareRhoaForUninstall] */
/* [KalUninstallORX] */

/* [KalStartRpcServer] */
int has_server(void) {
    return KalStartRpcServer() == 1; /* here, 1 means yes; it is not a result code */
}
/* [KalStartRpcServer] */

/* [KalEnumSpecific] */
static void ignore_printer(const PortInfoRecord *printer) {
    (void)printer;
}

int32_t look_for_printers(void) {
    KalEnumSpecific(); /* KAL_OKAY, and no printer is reported */
    return KalEnumPrinters(0, NETTYPE_IP | NETTYPEUSB | NETTYPE_LOCAL, ignore_printer); /* this one reports them */
}
/* [KalEnumSpecific] */

/* [unsupported] */
/* Whether the service can report the state of a printer. */
int is_reachable(uint16_t handle) {
    if (KalPing() != KAL_FAIL) { /* always KAL_FAIL: the export exists so that older programs can start */
        return 1;
    }
    KalPrinterStatusRecord status; /* use this instead */
    uint32_t needed = 0;
    return KalQueryPrinterStatus(0, handle, 0, &status, sizeof status, &needed) == KAL_OKAY;
}
/* [unsupported] */

/* [aliases] */
int32_t close_by_the_old_name(uint16_t handle) {
    return KalCloseLM(0, handle); /* as KalClose(0, handle), with two more lines in the log */
}
/* [aliases] */
