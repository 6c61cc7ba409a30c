// A library that makes the last unregistration where it must not: in its DllMain, under the loader lock.
#include "api/kal.h"
#include "tests/process/DetachReport.h"

namespace {

kal::test::DetachReport *report = nullptr;

void unregister() {
    SetEvent(report->begins);
    const DWORD start = GetTickCount();
    KalUnregisterApp(0);
    report->milliseconds = GetTickCount() - start;
}

} // namespace

extern "C" {

__declspec(dllexport) void reportTo(kal::test::DetachReport *given) {
    report = given;
}

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void *processEnds) {
    if (reason == DLL_PROCESS_DETACH) {
        unregister();
        if (processEnds != nullptr)
            TerminateProcess(GetCurrentProcess(), report->milliseconds < kal::test::atOnce ? kal::test::detachReturned
                                                                                           : kal::test::detachWaited);
    }
    return TRUE;
}

} // extern "C"
