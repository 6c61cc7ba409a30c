#include "platform/OsVersion.h"

#include "platform/EntryPoint.h"
#include "platform/Exception.h"
#include "platform/MadeAtLoad.h"

namespace kal {

namespace {

enum ThrowSite : uint32_t { plainVersionFailed = 234, extendedVersionFailed = 244 };

static_assert(sizeof(OSVERSIONINFOEXA) == 156 && sizeof(OSVERSIONINFOA) == 148);

bool readVersion(OSVERSIONINFOEXA &record) noexcept {
#if defined(_MSC_VER)
#pragma warning(suppress : 4996) // deprecated, but it reports the version that Windows shows to this process
#endif
    return GetVersionExA(reinterpret_cast<OSVERSIONINFOA *>(&record)) != 0;
}

// Not local to instance(): for a local object, libstdc++ takes a slot of thread-local storage that stays in use after
// the DLL is unloaded, and a process has about a thousand slots.
const MadeAtLoad<OsVersion> madeAtLoad;

} // namespace

OsVersion::OsVersion() : record_{} {
    record_.dwOSVersionInfoSize = sizeof(OSVERSIONINFOA);
    if (!readVersion(record_)) {
        throwLastError("OsVersion::OsVersion(): GetVersionEx failed", ".\\OsVersion", plainVersionFailed);
    }
    if (isNt5OrLater()) {
        record_.dwOSVersionInfoSize = sizeof(OSVERSIONINFOEXA);
        if (!readVersion(record_)) {
            throwLastError("OsVersion::OsVersion(): GetVersionEx failed with OSVERSIONINFOEX", ".\\OsVersion",
                           extendedVersionFailed);
        }
    }
}

bool OsVersion::isNtPlatform() const noexcept {
    return record_.dwPlatformId == VER_PLATFORM_WIN32_NT;
}

bool OsVersion::isNt5OrLater() const noexcept {
    return isNtPlatform() && record_.dwMajorVersion >= 5;
}

bool OsVersion::isWow64() noexcept {
    const HMODULE kernel = GetModuleHandleA("kernel32");
    if (kernel == nullptr) {
        return false;
    }
    auto *const isWow64Process = entryPoint<BOOL WINAPI(HANDLE, BOOL *)>(kernel, "IsWow64Process");
    if (isWow64Process == nullptr) {
        return false;
    }
    BOOL wow64 = 0;
    isWow64Process(GetCurrentProcess(), &wow64); // the result is ignored: after a failure, wow64 is 0
    return wow64 == 1;
}

bool OsVersion::is64BitWindows() noexcept {
    return sizeof(void *) == 8 || isWow64();
}

const OsVersion &OsVersion::instance() {
    return madeAtLoad.get();
}

} // namespace kal
