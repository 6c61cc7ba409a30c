/* Prints the file DOCUMENT to a printer of the simulator, compiled for the Visual C++ object format and linked with
 * that world's import library. There is no such C library on this machine, so the program does without one. */
#include <kal.h>

#define PRINTER 0x6001

__declspec(dllimport) void *__stdcall CreateFileA(const char *, uint32_t, uint32_t, void *, uint32_t, uint32_t, void *);
__declspec(dllimport) int __stdcall ReadFile(void *, void *, uint32_t, uint32_t *, void *);
__declspec(dllimport) void __stdcall ExitProcess(uint32_t);

static char document[1 << 20];

static uint32_t print(uint32_t size) {
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

void start(void) {
    uint32_t size = 0;
    uint32_t failed = 3;
    if (!ReadFile(CreateFileA("DOCUMENT", 0x80000000u, 1, 0, 3, 0, 0), document, sizeof document, &size, 0)) {
        ExitProcess(1);
    }
    if (KalRegisterWithRpcServer(0) != 1) {
        ExitProcess(2);
    }
    if (KalOpen(0, PRINTER, 0) == KAL_OKAY) {
        failed = print(size);
    }
    KalClose(0, PRINTER);
    KalUnregisterApp(0);
    ExitProcess(failed);
}
