/* Enumeration: finding printers, and reading the data that the service keeps about them. */
#include "snippets.h"

/* [KalEnumPrinters] */
static uint16_t first_handle;
static int printer_count;

static void note_printer(const PortInfoRecord *printer) {
    if (printer_count++ == 0) {
        first_handle = printer->handle; /* the record is valid only during this call: copy what you need */
    }
}

/* Returns the handle of the first USB printer; 0 if there is none. Run one enumeration at a time. */
uint16_t first_usb_printer(void) {
    printer_count = 0;
    first_handle = 0;
    KalEnumPrinters(0, NETTYPEUSB | KAL_DISCOVER_FIRST, note_printer);
    return first_handle;
}
/* [KalEnumPrinters] */

/* [KalEnumSpecificPort] */
/* [KalEnumByUNC] */
static uint16_t found_handle;

static void take_printer(const PortInfoRecord *printer) {
    found_handle = printer->handle;
}

/* Returns the handle of the printer on a port, or with a UNC name, of any kind; 0 if there is none. */
uint16_t printer_at(const char *name) {
    found_handle = 0;
    if (name[0] == '\\' && name[1] == '\\') {
        KalEnumByUNC(0, ENUM_P2P, name, take_printer);
    } else {
        KalEnumSpecificPort(0, ENUM_P2P, name, take_printer);
    }
    return found_handle; /* the results above are port-type codes, so the callback decides */
}
/* [KalEnumByUNC] */
/* [KalEnumSpecificPort] */

/* [KalGetCache] */
/* Returns the number of bytes in the buffer; 0 if the service has no block. */
uint32_t cached_block(uint16_t handle, uint8_t *block, uint32_t size) {
    uint32_t length = 0;
    return KalGetCache(0, handle, block, size, &length) == KAL_OKAY ? length : 0;
}
/* [KalGetCache] */
