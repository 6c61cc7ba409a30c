#include "simulator/configuration/ConfigurationLocation.h"

#include <string>

namespace simulator {

namespace {

namespace fs = std::filesystem;

std::optional<std::wstring> environment(const wchar_t *name) {
    std::wstring value(512, L'\0');
    for (;;) {
        const auto length = GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size()));
        if (length == 0) {
            return std::nullopt;
        }
        const bool isWhole = length < value.size();
        value.resize(length);
        if (isWhole) {
            return value;
        }
    }
}

fs::path folderOf(HMODULE module) {
    std::wstring name(32768, L'\0');
    name.resize(GetModuleFileNameW(module, name.data(), static_cast<DWORD>(name.size())));
    return fs::path(name).parent_path();
}

/// The path in an environment variable, if the variable is set.
std::optional<fs::path> pathFrom(const wchar_t *variable) {
    const auto value = environment(variable);
    return value ? std::optional(fs::absolute(fs::path(*value))) : std::nullopt;
}

} // namespace

ConfigurationLocation locateConfiguration(HMODULE module) {
    ConfigurationLocation location;
    location.moduleFolder = folderOf(module);
    const auto named = pathFrom(L"KAL_SIMULATOR_CONFIG");
    location.isNamed = named.has_value();
    location.file = named.value_or(location.moduleFolder / "comc.json");
    location.spool = pathFrom(L"KAL_SIMULATOR_SPOOL");
    location.replay = pathFrom(L"KAL_SIMULATOR_REPLAY");
    return location;
}

} // namespace simulator
