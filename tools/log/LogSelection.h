/// Which settings of the log make it write what somebody asked for.
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

/// What `kal log on` was asked for; what is not set stays as it is.
struct LogRequest {
    bool all = false;                     ///< every level of every component
    std::optional<uint32_t> level{};      ///< these levels of every component, and no others
    std::vector<LogSetting> components{}; ///< these levels of these components, and nothing of the others
    std::optional<bool> clock{};
    std::optional<bool> processId{};
    std::optional<bool> threadId{};
};

/// The settings to store, in order. A component passes when its own mask or that of "All" has the level, and some
/// components have a mask of their own by default: so a narrower selection stores a mask for every component.
std::vector<LogSetting> settingsFor(const LogRequest &request);

/// The component's name as the log knows it, whatever the case; nothing when there is no such component.
std::optional<std::string> findComponent(std::string_view name);

/// Reads a stored setting; nothing when it is not stored.
using SettingReader = std::function<std::optional<uint32_t>(std::string_view name)>;

/// One phrase about what is written: "on: every level of every component".
std::string describeSelection(const SettingReader &read);

/// The header's fields: "clock, process id" or "nothing".
std::string describeHeader(const SettingReader &read);

} // namespace tool
