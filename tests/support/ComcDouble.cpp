// The fake comc.dll: every entry point passes its arguments to the test program and returns the program's result.
// Without a RecordedService in the program, each entry point returns 0.
#include "tests/support/ServiceHost.h"

#include <cstdlib>

using kal::test::EntryPoint;
using kal::test::ServiceHost;

namespace {

const ServiceHost *host = nullptr;

const ServiceHost *findHost() {
    char text[64] = {};
    if (GetEnvironmentVariableA(kal::test::serviceHostVariable, text, sizeof text) == 0)
        return nullptr;
    char *rest = nullptr;
    const auto process = std::strtoull(text, &rest, 16);
    if (process != GetCurrentProcessId() || *rest != ':')
        return nullptr;
    return reinterpret_cast<const ServiceHost *>(static_cast<uintptr_t>(std::strtoull(rest + 1, nullptr, 16)));
}

uint32_t handOver(EntryPoint entryPoint, const uint64_t *arguments) {
    return host != nullptr ? host->called(entryPoint, arguments) : 0;
}

} // namespace

// All entry points read eight arguments. The words after the last real argument come from the caller's stack and are
// recorded as well.
#define EXPECTED_ENTRY_POINT(name, kinds)                                                                              \
    extern "C" __declspec(dllexport) uint32_t name(uint64_t a0, uint64_t a1, uint64_t a2, uint64_t a3, uint64_t a4,    \
                                                   uint64_t a5, uint64_t a6, uint64_t a7) {                            \
        const uint64_t arguments[kal::test::recordedArguments] = {a0, a1, a2, a3, a4, a5, a6, a7};                     \
        return handOver(EntryPoint::name, arguments);                                                                  \
    }
#include "tests/support/ExpectedEntryPoints.inc"
#undef EXPECTED_ENTRY_POINT

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID processEnds) {
    if (reason == DLL_PROCESS_ATTACH) {
        host = findHost();
        if (host != nullptr)
            host->attached(module);
    } else if (reason == DLL_PROCESS_DETACH && processEnds == nullptr && host != nullptr) {
        host->detached(module);
    }
    return TRUE;
}
