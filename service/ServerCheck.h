#pragma once

#include <cstdint>
#include <string>

namespace kal {

/// Whether a server can be used: this machine always, another one when the network provider knows it.
/// @return 0 when acceptable, else a Win32 or network error code. Blocks while the provider looks the name up.
[[nodiscard]] uint32_t checkServerByName(const std::string &serverName);

} // namespace kal
