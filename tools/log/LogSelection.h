/// The log settings for a selection of levels and components.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tool {

/// A log setting by name: a DWORD value of the "Logger" key.
using LogSetting = std::pair<std::string, uint32_t>;

namespace logSetting {
inline constexpr std::string_view startLog = "startLog";
inline constexpr std::string_view all = "All";
inline constexpr std::string_view clock = "Clocktime_In_Header";
inline constexpr std::string_view processId = "Proc_Id_In_Header";
inline constexpr std::string_view threadId = "Thread_Id_In_Header";
} // namespace logSetting

/// The arguments of `kal log on`; settings without a value are unchanged.
struct LogRequest {
    bool all = false;                     ///< every level of every component
    std::optional<uint32_t> level{};      ///< only these levels, of every component
    std::vector<LogSetting> components{}; ///< only these levels of these components
    std::optional<bool> clock{};
    std::optional<bool> processId{};
    std::optional<bool> threadId{};
};

/// The settings to store, in order. A line is written if either its component's mask or that of "All" has the level,
/// and some components have their own default mask. A narrower selection therefore stores a mask for every component.
std::vector<LogSetting> settingsFor(const LogRequest &request);

/// The component's name with the log's capitalisation; nothing if there is no such component. Ignores case.
std::optional<std::string> findComponent(std::string_view name);

/// Reads a stored setting; nothing if it is not stored.
using SettingReader = std::function<std::optional<uint32_t>(std::string_view name)>;

/// One phrase that describes the selection: "on: every level of every component".
std::string describeSelection(const SettingReader &read);

/// The header's fields: "clock, process id" or "nothing".
std::string describeHeader(const SettingReader &read);

} // namespace tool
