#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kal {

/// Whether a server name means this machine: an empty name, or the computer's name in any ASCII case, with or without
/// two leading backslashes.
/// @param computerName  null if it could not be read
[[nodiscard]] bool isThisMachine(std::string_view serverName, const char *computerName) noexcept;

/// A server name for the network: unchanged if one of its first two characters is a backslash, otherwise with two
/// backslashes in front.
[[nodiscard]] std::string remoteNameOf(std::string_view serverName);

} // namespace kal
