/* Prints a file, unchanged: print_example HANDLE FILE. Plain C11. Exit status: 0 printed, 1 failed, 2 usage. */
#include "kal.h"

#include <stdio.h>
#include <stdlib.h>
#include <windows.h>

enum { CHUNK_SIZE = 64 * 1024, MOST_FUTILE_WRITES = 5, PAUSE_MS = 200 };
static const struct Meaning {
    int32_t result;
    const char *text;
} meanings[] = {
    {KAL_FAIL, "it failed; the library's log tells more"},
    {DEVERR_INVHANDLE, "there is no such printer"},
    {KAL_REGISTRATION_REFUSED, "nothing to register with"},
    {DEVERR_CONNECT, "the printer cannot be reached"},
    {KAL_PRNBUSY, "the printer is busy"},
    {DEVERR_PROTOCOL, "the printer does not take such data"},
};

/* The service may take fewer bytes than offered. While its buffer is full it takes none: KalWrite then waits 2 s and
 * returns KAL_FAIL, as for any other failure. The rest is offered again, a limited number of times. */
static int32_t send_all(uint16_t handle, const char *data, uint32_t size) {
    for (int futile = 0; size > 0;) {
        uint32_t count = size; /* in: bytes offered; out: bytes taken, valid if the result is KAL_OKAY */
        const int32_t result = KalWrite(0, handle, KAL_PORT_TYPE_ANY, data, &count);
        const uint32_t taken = result == KAL_OKAY && count <= size ? count : 0;
        if (taken == 0 && ((result != KAL_OKAY && result != KAL_FAIL) || ++futile == MOST_FUTILE_WRITES)) {
            return result == KAL_OKAY ? KAL_FAIL : result;
        }
        data += taken;
        size -= taken;
        Sleep(taken > 0 ? 0 : PAUSE_MS);
    }
    return KAL_OKAY;
}

static int32_t print(uint16_t handle, FILE *file, const char *document_name) {
    static char chunk[CHUNK_SIZE];
    int32_t result = KalStartDoc(handle, KAL_PORT_TYPE_ANY, document_name);
    if (result != KAL_OKAY) { /* never "below 0": KAL_FAIL is positive */
        return result;
    }
    for (size_t size; result == KAL_OKAY && (size = fread(chunk, 1, sizeof chunk, file)) > 0;) {
        result = send_all(handle, chunk, (uint32_t)size);
    }
    if (result == KAL_OKAY) {
        result = ferror(file) ? KAL_FAIL : KalEndDoc(handle, KAL_PORT_TYPE_ANY);
    }
    if (result != KAL_OKAY) {
        KalCancelJob(0, handle); /* an incomplete document must not be printed */
    }
    return result;
}

int main(int argument_count, char **arguments) {
    char *end = NULL;
    const unsigned long handle = argument_count == 3 ? strtoul(arguments[1], &end, 0) : 0;
    FILE *file = end && end != arguments[1] && !*end && handle <= UINT16_MAX ? fopen(arguments[2], "rb") : NULL;
    if (!file) { /* checked before the job begins, so that an unreadable file prints no empty page */
        return fputs("usage: print_example HANDLE FILE, with a file that can be read\n", stderr), 2;
    }
    int32_t result = KalRegisterWithRpcServer(NULL); /* this machine; KalRegisterApp would not report a failure */
    if (result == 1) {
        result = KalOpen(0, (uint16_t)handle, 0);
        if (result == KAL_OKAY) {
            result = print((uint16_t)handle, file, arguments[2]);
            KalClose(0, (uint16_t)handle);
        }
        KalUnregisterApp(0); /* only after a successful registration, and after the last call */
    }
    fclose(file);
    for (size_t row = 0; row < sizeof meanings / sizeof meanings[0]; ++row) {
        if (meanings[row].result == result) {
            fprintf(stderr, "%s was not printed: %s (%ld)\n", arguments[2], meanings[row].text, (long)result);
        }
    }
    return result == KAL_OKAY ? EXIT_SUCCESS : EXIT_FAILURE;
}
