/* Prints a file, sent as it is: print_example HANDLE FILE. Plain C11; ends with 0, 1 (failed) or 2 (usage). */
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

/* The service may take fewer bytes than it is offered, and none while its buffer is full: KalWrite then waits 2 s and
 * answers KAL_FAIL, as for any other failure. What was not taken is offered again, but not for ever. */
static int32_t send_all(uint16_t handle, const char *data, uint32_t size) {
    for (int futile = 0; size > 0;) {
        uint32_t count = size; /* in: bytes offered; out: bytes taken, to be believed when the result is KAL_OKAY */
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
        KalCancelJob(0, handle); /* half a document must not come out of the printer */
    }
    return result;
}

int main(int argument_count, char **arguments) {
    char *end = NULL;
    const unsigned long handle = argument_count == 3 ? strtoul(arguments[1], &end, 0) : 0;
    FILE *file = end && end != arguments[1] && !*end && handle <= UINT16_MAX ? fopen(arguments[2], "rb") : NULL;
    if (!file) { /* looked at before a job begins: what cannot be read must not leave an empty page behind */
        return fputs("usage: print_example HANDLE FILE, with a file that can be read\n", stderr), 2;
    }
    int32_t result = KalRegisterWithRpcServer(NULL); /* this machine; KalRegisterApp could not tell of a failure */
    if (result == 1) {
        result = KalOpen(0, (uint16_t)handle, 0);
        if (result == KAL_OKAY) {
            result = print((uint16_t)handle, file, arguments[2]);
            KalClose(0, (uint16_t)handle);
        }
        KalUnregisterApp(0); /* only after a registration that succeeded, and after the last call */
    }
    fclose(file);
    for (size_t row = 0; row < sizeof meanings / sizeof meanings[0]; ++row) {
        if (meanings[row].result == result) {
            fprintf(stderr, "%s was not printed: %s (%ld)\n", arguments[2], meanings[row].text, (long)result);
        }
    }
    return result == KAL_OKAY ? EXIT_SUCCESS : EXIT_FAILURE;
}
