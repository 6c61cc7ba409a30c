#include "settings/Settings.h"

#include "platform/ScopedHandle.h"
#include "settings/BrandTable.h"
#include "settings/KeyPaths.h"
#include "settings/Localize.h"

#include <algorithm>

namespace kal {

namespace {

constexpr size_t networkNameLimit = 100;

/// The path of a transport's driver library: in the system directory, with a name that begins with the brand code.
std::string transportLibraryPath(std::string_view localId, const char *libraryName) {
    char systemDirectory[261] = {};
    GetSystemDirectoryA(systemDirectory, sizeof systemDirectory);
    return std::string(systemDirectory).append("\\").append(localId).append(libraryName);
}

bool canBeRead(const std::string &path) {
    const ScopedHandle file(CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                        FILE_ATTRIBUTE_NORMAL, nullptr));
    return file.isOpen();
}

} // namespace

Settings::Settings(const Localize &localize) noexcept
    : BasicSettings64(HKEY_LOCAL_MACHINE, localize.serviceRoot(), localize.localId(), accessMask), localize_(localize) {
    Settings::reopen();
}

void Settings::reopen() noexcept {
    keyPresent_ = key().tryOpen(localize_.root(localRoot).c_str(), root()) == ERROR_SUCCESS;
}

std::string Settings::keyPath(const std::string &subkey, uint32_t selector) const {
    return localize_.root(selector) + subkey;
}

bool Settings::removeStores() {
    uint32_t wanted = 0;
    const bool isSet = read("Settings\\", "DeleteStoreOnUninstall", wanted, localRoot);
    if (!isSet || wanted == 0) {
        return false;
    }
    // Throws if the registry cannot be listed; nothing is deleted then.
    static_cast<void>(childrenNames("Ip1\\Settings\\", sharedRoot, networkNameLimit));
    deleteKey("PrinterStore", sharedRoot);
    deleteKey("ScannerStore", sharedRoot);
    return true;
}

bool Settings::isBrandRecognised() const {
    return kal::isBrandRecognised(localize_.localId());
}

bool Settings::isInbox() const {
    uint32_t inbox = 0;
    const bool isSet = read("Settings\\", "Inbox", inbox, localRoot);
    return isSet && inbox > 0;
}

bool Settings::isHbnTransportUsable() const {
    const std::vector<std::string> installed = childrenNames("Transports\\Network", localRoot, SIZE_MAX);
    const auto isInstalled = [&](std::string_view transport) {
        return std::ranges::any_of(installed, [&](const std::string &name) { return name.substr(0, 4) == transport; });
    };
    if (isInstalled("HBN3")) {
        return canBeRead(transportLibraryPath(localize_.localId(), "hbn3.dll"));
    }
    return isInstalled("HBN1") && canBeRead(transportLibraryPath(localize_.localId(), "hbn1.dll"));
}

uint32_t Settings::findSupportedDevice(const std::string &device) const {
    const std::vector<std::string> supported = valueNames("Runtime\\SupportedDevices\\", localRoot);
    return std::ranges::find(supported, device) == supported.end() ? ERROR_NOT_FOUND : ERROR_SUCCESS;
}

} // namespace kal
