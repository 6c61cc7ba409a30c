#include "service/ServerCheck.h"

#include "platform/EntryPoint.h"
#include "service/ServerName.h"

#include <windows.h>
#include <winnetwk.h>

#include <memory>
#include <new>

namespace kal {

namespace {

struct LibraryDeleter {
    void operator()(HINSTANCE__ *module) const noexcept { FreeLibrary(module); }
};
using ScopedLibrary = std::unique_ptr<HINSTANCE__, LibraryDeleter>;

/// Asks the network provider. Loads it only for this call, because few installations need it.
uint32_t askNetworkProvider(const std::string &serverName) {
    const ScopedLibrary provider(LoadLibraryA("mpr.dll"));
    if (!provider) {
        return GetLastError();
    }
    auto *const getResourceInformation = entryPoint<DWORD WINAPI(NETRESOURCEA *, void *, DWORD *, char **)>(
        provider.get(), "WNetGetResourceInformationA");
    if (getResourceInformation == nullptr) {
        return GetLastError();
    }
    std::string remoteName = remoteNameOf(serverName);
    NETRESOURCEA resource = {};
    resource.dwScope = RESOURCE_GLOBALNET;
    resource.lpRemoteName = remoteName.data();
    char information[261] = {};
    DWORD size = sizeof information;
    char *systemPart = nullptr;
    return getResourceInformation(&resource, information, &size, &systemPart);
}

} // namespace

uint32_t checkServerByName(const std::string &serverName) {
    if (serverName.empty()) {
        return ERROR_SUCCESS;
    }
    char computerName[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD size = sizeof computerName;
    const bool known = GetComputerNameA(computerName, &size) != 0;
    if (isThisMachine(serverName, known ? computerName : nullptr)) {
        return ERROR_SUCCESS;
    }
    try {
        return askNetworkProvider(serverName);
    } catch (const std::bad_alloc &) {
        return ERROR_NOT_ENOUGH_MEMORY; // not an exception: the caller must release references
    }
}

} // namespace kal
