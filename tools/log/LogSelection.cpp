#include "tools/log/LogSelection.h"

#include "platform/Ascii.h"
#include "tools/text/NumberText.h"

#include <algorithm>
#include <iterator>

namespace tool {

namespace {

struct ComponentRow {
    std::string_view name;
    uint32_t defaultMask;
};

constexpr ComponentRow components[] = {
#define LOGGER_COMPONENT(identifier, name, level) {name, level},
#include "logging/ComponentTable.inc"
#undef LOGGER_COMPONENT
};

constexpr uint32_t everyLevel = 0xFFFFFFFF;

void storeFlag(std::vector<LogSetting> &settings, std::string_view name, const std::optional<bool> &flag) {
    if (flag) {
        settings.emplace_back(name, *flag ? 1 : 0);
    }
}

std::string levelText(uint32_t mask) {
    return mask == everyLevel ? "every level" : "levels " + hexNumber(mask, 1);
}

} // namespace

std::vector<LogSetting> settingsFor(const LogRequest &request) {
    std::vector<LogSetting> settings;
    if (request.all) {
        settings.emplace_back(logSetting::all, everyLevel);
    } else if (request.level || !request.components.empty()) {
        const uint32_t common = request.level.value_or(0);
        for (const ComponentRow &component : components) {
            const auto named = std::ranges::find(request.components, component.name, &LogSetting::first);
            settings.emplace_back(component.name, named == request.components.end() ? common : named->second);
        }
    }
    storeFlag(settings, logSetting::clock, request.clock);
    storeFlag(settings, logSetting::processId, request.processId);
    storeFlag(settings, logSetting::threadId, request.threadId);
    // Last, so that unwanted components are not logged while the other settings are stored.
    settings.emplace_back(logSetting::startLog, 1);
    return settings;
}

std::optional<std::string> findComponent(std::string_view name) {
    const auto *const found = std::ranges::find_if(
        components, [&](const ComponentRow &component) { return kal::equalIgnoringCase(component.name, name); });
    return found == std::end(components) ? std::nullopt : std::optional<std::string>(found->name);
}

std::string describeSelection(const SettingReader &read) {
    if (read(logSetting::startLog).value_or(0) == 0) {
        return "off: errors only";
    }
    const uint32_t common = read(logSetting::all).value_or(everyLevel);
    std::string text = "on: " + (common == 0 ? "errors of every component" : levelText(common) + " of every component");
    for (const ComponentRow &component : components) {
        const uint32_t mask = read(component.name).value_or(component.defaultMask);
        if ((mask & ~common) != 0) {
            text += ", " + levelText(mask | common) + " of " + std::string(component.name);
        }
    }
    return text;
}

std::string describeHeader(const SettingReader &read) {
    std::string text;
    const auto add = [&](std::string_view setting, uint32_t defaultValue, std::string_view field) {
        if (read(setting).value_or(defaultValue) != 0) {
            text.append(text.empty() ? "" : ", ").append(field);
        }
    };
    add(logSetting::clock, 1, "clock");
    add(logSetting::processId, 0, "process id");
    add(logSetting::threadId, 0, "thread id");
    return text.empty() ? "nothing" : text;
}

} // namespace tool
