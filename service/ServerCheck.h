#pragma once

#include <cstdint>
#include <string>

namespace kal {

/// Whether a server can be used: this machine always, another machine if the network provider knows it.
/// @return 0, or a Win32 or network error code. Blocks while the provider looks up the name.
[[nodiscard]] uint32_t checkServerByName(const std::string &serverName);

} // namespace kal
