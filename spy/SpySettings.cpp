#include "spy/SpySettings.h"

#include "settings/KeyPaths.h"

#include <optional>

namespace spy {

namespace {

constexpr DWORD longestPath = 32768;

std::optional<std::wstring> environment(const wchar_t *name) {
    std::wstring value(longestPath, L'\0');
    value.resize(GetEnvironmentVariableW(name, value.data(), longestPath));
    return value.empty() ? std::nullopt : std::optional(value);
}

/// The key is not brand-specific, because one spy serves libraries of all brands.
std::wstring settingsKey() {
    const std::string key = kal::serviceRootOf("") + "Spy";
    return {key.begin(), key.end()};
}

std::optional<std::wstring> registryText(const wchar_t *name) {
    std::wstring value(longestPath, L'\0');
    DWORD size = longestPath * sizeof(wchar_t);
    if (RegGetValueW(HKEY_LOCAL_MACHINE, settingsKey().c_str(), name, RRF_RT_REG_SZ, nullptr, value.data(), &size) !=
        ERROR_SUCCESS) {
        return std::nullopt;
    }
    value.resize(std::wstring_view(value.c_str()).size());
    return value.empty() ? std::nullopt : std::optional(value);
}

std::optional<DWORD> registryNumber(const wchar_t *name) {
    DWORD value = 0;
    DWORD size = sizeof value;
    return RegGetValueW(HKEY_LOCAL_MACHINE, settingsKey().c_str(), name, RRF_RT_REG_DWORD, nullptr, &value, &size) ==
                   ERROR_SUCCESS
               ? std::optional(value)
               : std::nullopt;
}

std::wstring folderBeside(HMODULE module) {
    std::wstring name(longestPath, L'\0');
    name.resize(GetModuleFileNameW(module, name.data(), longestPath));
    return name.substr(0, name.rfind(L'\\') + 1) + L"recordings";
}

} // namespace

SpySettings readSpySettings(HMODULE self) {
    SpySettings settings;
    auto folder = environment(L"KAL_SPY_FOLDER");
    if (!folder) {
        folder = registryText(L"Folder");
    }
    settings.folder = folder.value_or(folderBeside(self));
    if (!settings.folder.ends_with(L'\\') && !settings.folder.ends_with(L'/')) {
        settings.folder += L'\\';
    }
    if (const auto redact = environment(L"KAL_SPY_REDACT")) {
        settings.redacts = *redact != L"0";
    } else {
        settings.redacts = registryNumber(L"Redact").value_or(0) != 0;
    }
    return settings;
}

} // namespace spy
