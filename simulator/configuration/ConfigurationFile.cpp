#include "simulator/configuration/ConfigurationFile.h"

#include "simulator/configuration/ConfigurationLocation.h"
#include "simulator/configuration/DefaultConfiguration.h"

#include <fstream>
#include <functional>
#include <sstream>

namespace simulator {

namespace {

namespace fs = std::filesystem;

std::string printable(const fs::path &path) {
    const auto text = path.u8string();
    return {text.begin(), text.end()};
}

fs::path pathOf(const std::string &utf8) {
    return {std::u8string(utf8.begin(), utf8.end())};
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
    const auto location = locateConfiguration(module);
    const auto folder = location.file.parent_path();

    LoadedConfiguration loaded;
    auto text = readText(location.file);
    loaded.source = printable(location.file);
    loaded.spool = location.moduleFolder / "spool";
    if (!text && location.isNamed) {
        loaded.error = loaded.source + ": the file cannot be read";
    } else {
        if (!text) {
            text = defaultConfiguration();
            loaded.source = "built-in configuration";
        }
        try {
            loaded.configuration = readConfiguration(*text);
            if (loaded.configuration.spool) {
                loaded.spool = folder / pathOf(*loaded.configuration.spool);
            }
            if (loaded.configuration.replay) {
                loaded.replay = folder / pathOf(*loaded.configuration.replay);
            }
        } catch (const ConfigurationError &error) {
            loaded.error = loaded.source + ":" + std::to_string(error.line()) + ":" + std::to_string(error.column()) +
                           ": " + error.what();
        }
    }
    loaded.spool = location.spool.value_or(loaded.spool);
    if (location.replay) {
        loaded.replay = location.replay;
    }
    loaded.identity = std::hash<std::string>{}(printable(loaded.spool) + '\n' + text.value_or(""));
    return loaded;
}

} // namespace simulator
