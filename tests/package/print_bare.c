/* Prints the file DOCUMENT to a printer of the simulator, compiled for the Visual C++ object format and linked with
 * that world's import library. It brings no C library, so that any linker of that world will do. */
#include "print_job.h"

__declspec(dllimport) void *__stdcall CreateFileA(const char *, uint32_t, uint32_t, void *, uint32_t, uint32_t, void *);
__declspec(dllimport) int __stdcall ReadFile(void *, void *, uint32_t, uint32_t *, void *);
__declspec(dllimport) void __stdcall ExitProcess(uint32_t);

static char document[1 << 20];

void start(void) {
    uint32_t size = 0;
    if (!ReadFile(CreateFileA("DOCUMENT", 0x80000000u, 1, 0, 3, 0, 0), document, sizeof document, &size, 0)) {
        ExitProcess(1);
    }
    ExitProcess((uint32_t)print_registered(document, size));
}
