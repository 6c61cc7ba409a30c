#pragma once

#include "simulator/configuration/Configuration.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include <windows.h>

namespace simulator {

/// The configuration, or the reason it cannot be used.
struct LoadedConfiguration {
    Configuration configuration;
    std::filesystem::path spool;
    std::optional<std::filesystem::path> replay; // a recording to use instead of the printers
    std::string source;                          // for the log
    std::optional<std::string> error;            // set if the configuration cannot be used
    uint64_t identity = 0;                       // hash of the file's text and the spool folder
};

/// Reads the file that locateConfiguration found; without one, the built-in configuration. Paths in the file are
/// relative to its folder. The environment takes precedence over the file, and the default spool is "spool" in the
/// module's folder.
[[nodiscard]] LoadedConfiguration loadConfiguration(HMODULE module);

} // namespace simulator
