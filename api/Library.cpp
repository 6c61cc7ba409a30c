#include "api/Library.h"

#include "api/CapturedAlerts.h"
#include "api/kal.h"
#include "platform/CriticalSection.h"
#include "platform/Exception.h"
#include "settings/Localize.h"

#include <windows.h>

#include <atomic>
#include <mutex>
#include <new>

namespace kal {

namespace {

HMODULE libraryModuleHandle = nullptr; ///< written once, at process attach
CriticalSection initializeLock;
std::atomic<bool> initialized = false;

void makeLocalize() {
    if (initialized) {
        return;
    }
    const std::lock_guard guard(initializeLock);
    if (!initialized) {
        Localize::createInstance(libraryModuleHandle);
        initialized = true;
    }
}

} // namespace

HMODULE libraryModule() noexcept {
    return libraryModuleHandle;
}

} // namespace kal

using namespace kal;

extern "C" {

int32_t Initialize(void) {
    try {
        makeLocalize();
    } catch (const Win32Exception &) {
        // The next call tries again.
    }
    resetAlertIds();
    return 1;
}

int32_t Uninitialize(void) {
    return 1;
}

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID processEnds) {
    switch (reason) {
    case DLL_PROCESS_ATTACH:
        DisableThreadLibraryCalls(instance);
        libraryModuleHandle = instance;
        try {
            Initialize();
        } catch (const std::bad_alloc &) {
            // An exception must not reach the loader. The next call tries again.
        }
        break;
    case DLL_PROCESS_DETACH:
        Uninitialize();
        if (processEnds == nullptr) {
            Localize::destroyInstance();
        }
        break;
    default:
        break;
    }
    return TRUE;
}

} // extern "C"
