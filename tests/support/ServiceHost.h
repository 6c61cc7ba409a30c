// The block through which the recording comc.dll finds the test program. It lives in the program, so that script and
// recording outlive the unloading of the library, which happens whenever the client is idle.
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

/// Environment variable that holds "process id:address of the block", both hexadecimal. The process id keeps a child,
/// which inherits the variable, from following its parent's address.
constexpr char serviceHostVariable[] = "KAL_TEST_SERVICE_HOST";

} // namespace kal::test
