/* Prints the file DOCUMENT to a printer of the simulator. Compiled as C11 and as C++17, linked in several ways. */
#include <kal.h>

#include <stdio.h>

#define PRINTER 0x6001

static char document[1 << 20];

static int print(uint32_t size) {
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

int main(void) {
    FILE *file = fopen("DOCUMENT", "rb");
    uint32_t size;
    int failed;
    if (!file) {
        return 1;
    }
    size = (uint32_t)fread(document, 1, sizeof document, file);
    fclose(file);
    if (KalRegisterWithRpcServer(NULL) != 1) {
        return 2;
    }
    failed = KalOpen(0, PRINTER, 0) == KAL_OKAY ? print(size) : 3;
    KalClose(0, PRINTER);
    KalUnregisterApp(0);
    return failed;
}
