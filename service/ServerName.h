#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kal {

/// Whether a server name means this machine: the empty name, and the computer's name in any letter case (ASCII), with
/// or without two leading backslashes.
/// @param computerName  null when it could not be found out
[[nodiscard]] bool isThisMachine(std::string_view serverName, const char *computerName) noexcept;

/// A server name as the network knows it: as it stands when a backslash is among its first two characters, else with
/// two backslashes before it.
[[nodiscard]] std::string remoteNameOf(std::string_view serverName);

} // namespace kal
