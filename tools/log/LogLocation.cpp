#include "tools/log/LogLocation.h"

#include "settings/BrandTable.h"
#include "settings/KeyPaths.h"
#include "tools/Invocation.h"
#include "tools/text/Text.h"

#include <memory>

namespace tool {

namespace {

/// An open registry key; may be empty.
class Key {
  public:
    explicit Key(HKEY key = nullptr) : key_(key) {}
    ~Key() {
        if (key_ != nullptr) {
            RegCloseKey(key_);
        }
    }
    Key(const Key &) = delete;
    Key &operator=(const Key &) = delete;

    [[nodiscard]] HKEY get() const { return key_; }
    [[nodiscard]] HKEY *out() { return &key_; }

  private:
    HKEY key_;
};

std::string withoutTrailingBackslash(std::string path) {
    while (path.ends_with('\\')) {
        path.pop_back();
    }
    return path;
}

std::string libraryPath() {
    std::wstring path(32768, L'\0');
    const HMODULE library = GetModuleHandleW(L"kalclient.dll");
    path.resize(GetModuleFileNameW(library, path.data(), static_cast<DWORD>(path.size())));
    return fromWide(path);
}

/// The folder as the library expands it. A variable that is not set is not expanded.
std::string logFolder() {
    std::wstring folder(32768, L'\0');
    const DWORD length =
        ExpandEnvironmentStringsW(L"%ALLUSERSPROFILE%\\", folder.data(), static_cast<DWORD>(folder.size()));
    folder.resize(length > 0 && length <= folder.size() ? length - 1 : 0);
    return fromWide(folder);
}

[[noreturn]] void refuse(const std::string &key, LSTATUS code) {
    std::string message = fullKeyName(key) + " cannot be written: " + systemErrorText(static_cast<DWORD>(code));
    if (code == ERROR_ACCESS_DENIED) {
        message += "; run this from an elevated prompt";
    }
    throw CommandFailure(message);
}

} // namespace

LogLocation locateLog() {
    LogLocation location;
    location.libraryPath = libraryPath();
    location.brandCode = kal::brandCodeOf(location.libraryPath);
    location.isBrandRecognised = kal::isBrandRecognised(location.brandCode);
    const std::string root = kal::rootOf(location.brandCode, kal::localRoot);
    location.settingsKey = withoutTrailingBackslash(root);
    location.loggerKey = location.settingsKey + "\\Logger";
    location.logFile = logFolder() + location.brandCode + ".log";
    return location;
}

std::string fullKeyName(const std::string &path) {
    return "HKEY_LOCAL_MACHINE\\" + path;
}

unsigned long tryKey(const std::string &path, REGSAM access) {
    Key key;
    return static_cast<unsigned long>(RegOpenKeyExW(HKEY_LOCAL_MACHINE, toWide(path).c_str(), 0, access, key.out()));
}

SettingReader settingReader(const std::string &path) {
    const auto key = std::make_shared<Key>();
    RegOpenKeyExW(HKEY_LOCAL_MACHINE, toWide(path).c_str(), 0, KEY_READ | KEY_WOW64_64KEY, key->out());
    return [key](std::string_view name) -> std::optional<uint32_t> {
        DWORD value = 0;
        DWORD type = 0;
        DWORD size = sizeof value;
        if (key->get() == nullptr ||
            RegQueryValueExW(key->get(), toWide(name).c_str(), nullptr, &type, reinterpret_cast<BYTE *>(&value),
                             &size) != ERROR_SUCCESS ||
            type != REG_DWORD) {
            return std::nullopt;
        }
        return static_cast<uint32_t>(value);
    };
}

void storeSettings(const std::string &path, const std::vector<LogSetting> &settings) {
    Key key;
    const LSTATUS created = RegCreateKeyExW(HKEY_LOCAL_MACHINE, toWide(path).c_str(), 0, nullptr, 0,
                                            KEY_SET_VALUE | KEY_WOW64_64KEY, nullptr, key.out(), nullptr);
    if (created != ERROR_SUCCESS) {
        refuse(path, created);
    }
    for (const auto &[name, value] : settings) {
        const DWORD stored = value;
        const LSTATUS set = RegSetValueExW(key.get(), toWide(name).c_str(), 0, REG_DWORD,
                                           reinterpret_cast<const BYTE *>(&stored), sizeof stored);
        if (set != ERROR_SUCCESS) {
            refuse(path, set);
        }
    }
}

} // namespace tool
