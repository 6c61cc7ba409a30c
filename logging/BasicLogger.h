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

/// Appends lines to a log file that any number of processes share. No failure of its own reaches a caller: a line that
/// cannot be written is dropped. The order of the virtual operations is part of the binary interface.
class BasicLogger {
  public:
    /// How long a setting that was read holds.
    static constexpr uint32_t settingMaxAgeMilliseconds = 5000;

    /// @param path   the log file; a path without a backslash lies in the root of the Windows drive
    /// @param width  columns for the component's name
    BasicLogger(const std::string &path, uint32_t width);
    BasicLogger(const BasicLogger &) = delete;
    BasicLogger &operator=(const BasicLogger &) = delete;

    virtual ~BasicLogger() = default;
    virtual void write(const LoggerComponent &component, uint32_t level, const std::string &text);
    /// Writes one line: header, depth, text. Waits for the inter-process lock and nothing else, never throws, and
    /// leaves the thread's last error as it found it.
    virtual void write(const LoggerComponent &component, uint32_t level, const char *text);
    /// Deletes the log file under the inter-process lock.
    virtual void deleteLogFile();
    /// Reads one setting anew. Here: "startLog" is on exactly while the log file exists; nothing else is set.
    virtual void readSetting(const std::string &name, uint32_t &value, uint32_t defaultValue);
    /// Called when the file did not exist before a write.
    virtual void onLogFileMissing() {}
    [[nodiscard]] virtual std::string linePrefix(const LoggerComponent &, uint32_t, const char *) { return {}; }
    [[nodiscard]] virtual std::string lineSuffix(const LoggerComponent &, uint32_t, const char *) { return {}; }

    /// The logger of the process. Throws Win32Exception "BasicLogger::getInstance()", code 1, while there is none.
    [[nodiscard]] static BasicLogger &getInstance();
    /// Whether this very logger is still the logger of the process; safe to ask for one that is gone.
    [[nodiscard]] static bool isInstance(const BasicLogger *logger) noexcept;
    /// Which logger of the process this is: 1 for the first, 2 for the second; 0 while there is none. Unlike an
    /// address, a number is never used again.
    [[nodiscard]] static uint64_t instanceNumber() noexcept;

    /// Whether a line of a component would be written at a level. A setting that cannot be read counts as off.
    [[nodiscard]] bool isEnabled(const LoggerComponent &component, uint32_t level) noexcept;

    /// @return 87 (the width stays) for a width of 0, else 0
    uint32_t setComponentWidth(uint32_t width) noexcept;

    /// A setting, read anew when the value at hand is older than maxAge.
    void cachedSetting(std::string_view name, uint32_t &value, uint32_t defaultValue, uint32_t maxAgeMilliseconds);

    /// Depth of the calling thread: one blank a level before each text.
    void indent();
    void unindent();
    /// Sets the depth of every thread back to 0.
    void forgetDepths() noexcept;

    [[nodiscard]] const std::string &path() const noexcept { return path_; }

  protected:
    friend class Logger;
    /// Makes a logger that of the process. @return false when there is one already
    [[nodiscard]] static bool publish(BasicLogger *logger) noexcept;
    static void unpublish() noexcept;

  private:
    void setUp(const std::string &path);
    [[nodiscard]] int32_t depthOfThread();
    void append(std::string_view line);
    [[nodiscard]] bool isOn(std::string_view headerSetting, uint32_t defaultValue);

    std::unique_ptr<Mutex> lock_; ///< absent only when there was no memory for it
    std::string path_;
    CriticalSection depthSection_;       ///< guards depths_
    std::map<uint32_t, int32_t> depths_; ///< by thread id; an entry is never removed
    SecurityEveryone security_;          ///< for the log file
    std::atomic<uint32_t> componentWidth_;
    SettingCache cache_;
};

/// Whether a component logs at a level: the test that comes before a message is built. Looks for the settings key each
/// time, so removing the key silences everything, errors included.
[[nodiscard]] bool logEnabled(const LoggerComponent &component, uint32_t level);

} // namespace kal
