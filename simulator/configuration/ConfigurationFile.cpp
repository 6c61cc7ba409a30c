#include "simulator/configuration/ConfigurationFile.h"

#include "simulator/configuration/DefaultConfiguration.h"

#include <fstream>
#include <functional>
#include <sstream>

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

std::string printable(const fs::path &path) {
    const auto text = path.u8string();
    return {text.begin(), text.end()};
}

fs::path pathOf(const std::string &utf8) {
    return fs::path(std::u8string(utf8.begin(), utf8.end()));
}

std::optional<std::string> readText(const fs::path &file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        return std::nullopt;
    }
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

} // namespace

LoadedConfiguration loadConfiguration(HMODULE module) {
    const auto moduleFolder = folderOf(module);
    const auto named = environment(L"KAL_SIMULATOR_CONFIG");
    const auto file = named ? fs::absolute(fs::path(*named)) : moduleFolder / "comc.json";

    LoadedConfiguration loaded;
    auto text = readText(file);
    loaded.source = printable(file);
    auto spool = moduleFolder / "spool";
    if (!text && named) {
        loaded.error = loaded.source + ": the file cannot be read";
    } else {
        if (!text) {
            text = defaultConfiguration();
            loaded.source = "built-in configuration";
        }
        try {
            loaded.configuration = readConfiguration(*text);
            if (loaded.configuration.spool) {
                spool = file.parent_path() / pathOf(*loaded.configuration.spool);
            }
            if (loaded.configuration.replay) {
                loaded.replay = file.parent_path() / pathOf(*loaded.configuration.replay);
            }
        } catch (const ConfigurationError &error) {
            loaded.error = loaded.source + ":" + std::to_string(error.line()) + ":" + std::to_string(error.column()) +
                           ": " + error.what();
        }
    }
    if (const auto other = environment(L"KAL_SIMULATOR_SPOOL")) {
        spool = fs::absolute(fs::path(*other));
    }
    if (const auto recording = environment(L"KAL_SIMULATOR_REPLAY")) {
        loaded.replay = fs::absolute(fs::path(*recording));
    }
    loaded.spool = spool;
    loaded.identity = std::hash<std::string>{}(printable(spool) + '\n' + text.value_or(""));
    return loaded;
}

} // namespace simulator
