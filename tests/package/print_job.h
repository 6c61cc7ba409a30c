/* One print job of a few lines, in the words that C11, C++17 and a program without a C library have in common. */
#include <kal.h>

#define PRINTER 0x6001 /* one that the simulator offers without being configured */

/** Prints to the opened printer. Returns 0, or the number of the step that failed. */
static int print_job(const char *document, uint32_t size) {
    uint32_t sent = 0;
    if (KalStartDoc(PRINTER, KAL_PORT_TYPE_ANY, "DOCUMENT") != KAL_OKAY) {
        return 4;
    }
    while (sent < size) {
        uint32_t count = size - sent;
        if (KalWrite(0, PRINTER, KAL_PORT_TYPE_ANY, document + sent, &count) != KAL_OKAY || count == 0) {
            return 5;
        }
        sent += count;
    }
    return KalEndDoc(PRINTER, KAL_PORT_TYPE_ANY) == KAL_OKAY ? 0 : 6;
}

/** The life of an application that prints one document. */
static int print_registered(const char *document, uint32_t size) {
    int failed = 3;
    if (KalRegisterWithRpcServer(0) != 1) {
        return 2;
    }
    if (KalOpen(0, PRINTER, 0) == KAL_OKAY) {
        failed = print_job(document, size);
        KalClose(0, PRINTER);
    }
    KalUnregisterApp(0);
    return failed;
}
