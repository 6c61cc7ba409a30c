#include "service/ServerName.h"

#include "platform/Ascii.h"

namespace kal {

namespace {

constexpr std::string_view uncPrefix = "\\\\";

bool hasBackslashAt(std::string_view name, size_t position) noexcept {
    return name.size() > position && name[position] == '\\';
}

} // namespace

bool isThisMachine(std::string_view serverName, const char *computerName) noexcept {
    if (serverName.empty()) {
        return true;
    }
    if (computerName == nullptr) {
        return false;
    }
    if (serverName.starts_with(uncPrefix)) {
        return equalIgnoringCase(serverName.substr(uncPrefix.size()), computerName);
    }
    return !hasBackslashAt(serverName, 0) && !hasBackslashAt(serverName, 1) &&
           equalIgnoringCase(serverName, computerName);
}

std::string remoteNameOf(std::string_view serverName) {
    const bool asItStands = hasBackslashAt(serverName, 0) || hasBackslashAt(serverName, 1);
    return std::string(asItStands ? "" : uncPrefix).append(serverName);
}

} // namespace kal
