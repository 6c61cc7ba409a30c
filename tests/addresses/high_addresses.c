// Linux library for LD_PRELOAD: occupies the low addresses, and those that the DLLs ask for, before Wine uses them.
// Wine then relocates kalclient.dll and places heaps and stacks above 4 GiB, as Windows does with randomised addresses.
#define _GNU_SOURCE
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

struct range {
    uintptr_t start;
    uintptr_t end;
};

// What stays free: 128 MiB below 2 GiB, where Wine must place thread blocks; its page at 0x7ffe0000; the programs at
// 0x140000000, which this test is not about.
static const struct range occupied[] = {
    {0x10000, 0x70000000},
    {0x78000000, 0x7ff00000},
    {0x80000000, 0x140000000},
    {0x180000000, 0x200000000},
};

static void occupy(uintptr_t start, uintptr_t end) {
    const int flags = MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_FIXED_NOREPLACE;
    if (mmap((void *)start, end - start, PROT_NONE, flags, -1, 0) != (void *)start) {
        fprintf(stderr, "high_addresses: cannot occupy %zx to %zx\n", (size_t)start, (size_t)end);
        _exit(1);
    }
}

// Occupies the free parts of a range. `used` is in ascending order.
static void occupy_free(struct range range, const struct range *used, size_t count) {
    for (size_t index = 0; index < count && range.start < range.end; ++index) {
        if (used[index].end <= range.start)
            continue;
        if (used[index].start >= range.end)
            break;
        if (used[index].start > range.start)
            occupy(range.start, used[index].start);
        range.start = used[index].end;
    }
    if (range.start < range.end)
        occupy(range.start, range.end);
}

static int is_wine(void) {
    char program[4096];
    const ssize_t length = readlink("/proc/self/exe", program, sizeof program - 1);
    if (length < 0)
        return 0;
    program[length] = '\0';
    const char *name = strrchr(program, '/');
    return name != NULL && strncmp(name, "/wine64", 7) == 0;
}

__attribute__((constructor)) static void begin(void) {
    if (!is_wine()) // the shell that starts it, for one
        return;
    static struct range used[4096];
    size_t count = 0;
    FILE *maps = fopen("/proc/self/maps", "r");
    char line[4096];
    while (maps != NULL && count < sizeof used / sizeof *used && fgets(line, sizeof line, maps) != NULL)
        if (sscanf(line, "%zx-%zx", &used[count].start, &used[count].end) == 2)
            ++count;
    if (maps != NULL)
        fclose(maps);
    for (size_t index = 0; index < sizeof occupied / sizeof *occupied; ++index)
        occupy_free(occupied[index], used, count);
}
