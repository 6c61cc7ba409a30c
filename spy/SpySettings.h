/// Where recordings go and what they leave out.
#pragma once

#include <windows.h>

#include <string>

namespace spy {

struct SpySettings {
    std::wstring folder; ///< with a backslash at its end
    bool redacts = false;
};

/// Environment first, then the registry, then "recordings" beside the spy and nothing left out.
[[nodiscard]] SpySettings readSpySettings(HMODULE self);

} // namespace spy
