// The structure through which the fake comc.dll calls the test program. It belongs to the program, so that script and
// recording are kept when the client is idle and unloads the library.
#pragma once

#include <cstdint>

#include <windows.h>

namespace kal::test {

enum class EntryPoint : uint32_t {
#define EXPECTED_ENTRY_POINT(name, kinds) name,
#include "tests/support/ExpectedEntryPoints.inc"
#undef EXPECTED_ENTRY_POINT
    count
};

constexpr int recordedArguments = 8;

struct ServiceHost {
    void (*attached)(HMODULE module);
    void (*detached)(HMODULE module);
    uint32_t (*called)(EntryPoint entryPoint, const uint64_t *arguments);
};

/// Environment variable with "process id:address of the structure", both hexadecimal. Child processes inherit the
/// variable; the process id tells them that the address is not theirs.
constexpr char serviceHostVariable[] = "KAL_TEST_SERVICE_HOST";

} // namespace kal::test
