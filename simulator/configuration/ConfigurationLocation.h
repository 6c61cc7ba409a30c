#pragma once

#include <filesystem>
#include <optional>

#include <windows.h>

namespace simulator {

/// The paths that the environment and the module's folder determine.
struct ConfigurationLocation {
    std::filesystem::path file;                  ///< KAL_SIMULATOR_CONFIG; otherwise comc.json in the module's folder
    bool isNamed = false;                        ///< by KAL_SIMULATOR_CONFIG; the file must then be readable
    std::filesystem::path moduleFolder;          ///< of comc.dll
    std::optional<std::filesystem::path> spool;  ///< KAL_SIMULATOR_SPOOL
    std::optional<std::filesystem::path> replay; ///< KAL_SIMULATOR_REPLAY
};

[[nodiscard]] ConfigurationLocation locateConfiguration(HMODULE module);

} // namespace simulator
