#pragma once

#include "simulator/configuration/Configuration.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include <windows.h>

namespace simulator {

/// The configuration in force, or why there is none.
struct LoadedConfiguration {
    Configuration configuration;
    std::filesystem::path spool;
    std::optional<std::filesystem::path> replay; // a recording that answers instead of the printers
    std::string source;                          // for the log
    std::optional<std::string> error;            // set: the configuration cannot be used
    uint64_t identity = 0;                       // differs when text or spool differ
};

/// KAL_SIMULATOR_CONFIG names the file, else comc.json beside the module counts, else the built-in configuration.
/// KAL_SIMULATOR_SPOOL names the spool folder, else the configuration does (relative to its own folder), else it is
/// "spool" beside the module. KAL_SIMULATOR_REPLAY names a recording to be replayed, else the configuration may.
[[nodiscard]] LoadedConfiguration loadConfiguration(HMODULE module);

} // namespace simulator
