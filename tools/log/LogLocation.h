/// The places of the settings and the log of the library in this process, and the log's settings.
#pragma once

#include "tools/log/LogSelection.h"

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tool {

/// The access mask with which the library opens its settings key.
inline constexpr REGSAM settingsAccess = 31 | KEY_WOW64_64KEY;

/// All strings are UTF-8. Key paths are relative to HKEY_LOCAL_MACHINE and do not end with a backslash.
struct LogLocation {
    std::string libraryPath;
    std::string brandCode;
    bool isBrandRecognised = false;
    std::string settingsKey; ///< without this key the library logs nothing
    std::string loggerKey;   ///< below settingsKey; its values are the log's settings
    std::string logFile;
};

/// The location for the library in this process.
LogLocation locateLog();

/// "HKEY_LOCAL_MACHINE\" and the path.
std::string fullKeyName(const std::string &path);

/// Tries to open a key with the given access mask. @return 0 or the system's error code
unsigned long tryKey(const std::string &path, REGSAM access);

/// Reads the DWORD values of a key. A key or value that is missing or has another type counts as not stored.
SettingReader settingReader(const std::string &path);

/// Stores DWORD values and creates the key if needed. Ends the command if the user may not do that.
void storeSettings(const std::string &path, const std::vector<LogSetting> &settings);

} // namespace tool
