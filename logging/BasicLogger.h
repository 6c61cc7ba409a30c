#pragma once

#include "logging/LogLevel.h"
#include "logging/LoggerComponent.h"
#include "logging/SettingCache.h"
#include "platform/CriticalSection.h"
#include "platform/Mutex.h"
#include "platform/SecurityEveryone.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>

namespace kal {

/// Appends lines to a log file that processes share. Failures do not reach the caller: a line that cannot be written is
/// dropped. The order of the virtual operations is part of the binary interface.
class BasicLogger {
  public:
    /// How long a setting is used after it was read.
    static constexpr uint32_t settingMaxAgeMilliseconds = 5000;

    /// @param path   the log file; without a backslash, a file in the root of the Windows drive
    /// @param width  columns for the component's name
    BasicLogger(const std::string &path, uint32_t width);
    BasicLogger(const BasicLogger &) = delete;
    BasicLogger &operator=(const BasicLogger &) = delete;

    virtual ~BasicLogger() = default;
    virtual void write(const LoggerComponent &component, uint32_t level, const std::string &text);
    /// Writes one line: header, depth, text. Waits only for the inter-process lock, never throws, and keeps the
    /// thread's last error.
    virtual void write(const LoggerComponent &component, uint32_t level, const char *text);
    /// Deletes the log file under the inter-process lock.
    virtual void deleteLogFile();
    /// Reads one setting. In this class "startLog" is on if the log file exists; other settings have their default.
    virtual void readSetting(const std::string &name, uint32_t &value, uint32_t defaultValue);
    /// Called if the file did not exist before a write.
    virtual void onLogFileMissing() {}
    [[nodiscard]] virtual std::string linePrefix(const LoggerComponent &, uint32_t, const char *) { return {}; }
    [[nodiscard]] virtual std::string lineSuffix(const LoggerComponent &, uint32_t, const char *) { return {}; }

    /// The logger of the process. Throws Win32Exception "BasicLogger::getInstance()", code 1, if there is none.
    [[nodiscard]] static BasicLogger &getInstance();
    /// Whether the argument is the logger of the process. The pointer may be dangling.
    [[nodiscard]] static bool isInstance(const BasicLogger *logger) noexcept;
    /// The number of the process's logger: 1 for the first, 2 for the second; 0 without one. Numbers, unlike addresses,
    /// are not reused.
    [[nodiscard]] static uint64_t instanceNumber() noexcept;

    /// Whether the component's lines at the level are written; false if a setting cannot be read.
    [[nodiscard]] bool isEnabled(const LoggerComponent &component, uint32_t level) noexcept;

    /// @return 87 for a width of 0, which changes nothing; otherwise 0
    uint32_t setComponentWidth(uint32_t width) noexcept;

    /// A setting; read again if the cached value is older than maxAge.
    void cachedSetting(std::string_view name, uint32_t &value, uint32_t defaultValue, uint32_t maxAgeMilliseconds);

    /// Depth of the calling thread: one space per level before each text.
    void indent();
    void unindent();
    /// Resets the depth of every thread to 0.
    void forgetDepths() noexcept;

    [[nodiscard]] const std::string &path() const noexcept { return path_; }

  protected:
    friend class Logger;
    /// Makes the argument the logger of the process. @return false if there is one already
    [[nodiscard]] static bool publish(BasicLogger *logger) noexcept;
    static void unpublish() noexcept;

  private:
    void setUp(const std::string &path);
    [[nodiscard]] int32_t depthOfThread();
    void append(std::string_view line);
    [[nodiscard]] bool isOn(std::string_view headerSetting, uint32_t defaultValue);

    std::unique_ptr<Mutex> lock_; ///< null only if there was no memory for it
    std::string path_;
    CriticalSection depthSection_;       ///< guards depths_
    std::map<uint32_t, int32_t> depths_; ///< by thread id; an entry is never removed
    SecurityEveryone security_;          ///< for the log file
    std::atomic<uint32_t> componentWidth_;
    SettingCache cache_;
};

/// Whether a component logs at a level. Callers check it before they compose a message. Looks for the settings key on
/// every call, so that removing the key stops all logging, also of errors.
[[nodiscard]] bool logEnabled(const LoggerComponent &component, uint32_t level);

} // namespace kal
