/// Where the library that this process loaded keeps its settings and its log, and the log's settings there.
#pragma once

#include "tools/log/LogSelection.h"

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tool {

/// The rights with which the library opens its settings key.
inline constexpr REGSAM settingsAccess = 31 | KEY_WOW64_64KEY;

/// All texts are UTF-8; key paths are relative to HKEY_LOCAL_MACHINE and end without a backslash.
struct LogLocation {
    std::string libraryPath;
    std::string brandCode;
    bool isBrandRecognised = false;
    std::string settingsKey; ///< without it the library logs nothing at all
    std::string loggerKey;   ///< below it; its values are the log's settings
    std::string logFile;
};

/// The place that the library in this process uses.
LogLocation locateLog();

/// "HKEY_LOCAL_MACHINE\" and the path.
std::string fullKeyName(const std::string &path);

/// Whether a key opens with the given rights. @return 0 or the system's error code
unsigned long tryKey(const std::string &path, REGSAM access);

/// Reads the DWORD values of a key; a key or value that is missing or has another type reads as not stored.
SettingReader settingReader(const std::string &path);

/// Stores DWORD values, creating the key when it is missing. Ends the command when this user may not.
void storeSettings(const std::string &path, const std::vector<LogSetting> &settings);

} // namespace tool
