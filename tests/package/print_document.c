/* Prints the file DOCUMENT to a printer of the simulator. Compiled as C11 and as C++17, linked in several ways. */
#include "print_job.h"

#include <stdio.h>

static char document[1 << 20];

int main(void) {
    FILE *file = fopen("DOCUMENT", "rb");
    uint32_t size;
    if (!file) {
        return 1;
    }
    size = (uint32_t)fread(document, 1, sizeof document, file);
    fclose(file);
    return print_registered(document, size);
}
