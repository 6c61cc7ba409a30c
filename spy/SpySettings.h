/// The folder of the recordings, and whether documents are redacted.
#pragma once

#include <windows.h>

#include <string>

namespace spy {

struct SpySettings {
    std::wstring folder; ///< ends with a backslash or slash
    bool redacts = false;
};

/// Reads the environment, then the registry. Defaults: "recordings" in the spy's folder, nothing redacted.
[[nodiscard]] SpySettings readSpySettings(HMODULE self);

} // namespace spy
