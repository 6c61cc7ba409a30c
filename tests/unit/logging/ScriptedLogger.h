// A logger whose settings, hooks and file are the test's own.
#pragma once

#include "logging/BasicLogger.h"
#include "tests/support/ImportHook.h"
#include "tests/support/TemporaryFolder.h"

#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace kal::test {

/// A log file name that no other running test program uses: the lock bears it.
inline std::string uniqueLogName() {
    static int number = 0;
    return "kal-unit-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++number) + ".log";
}

inline const LoggerComponent &comClient = loggerComponent(ComponentId::ComClient);       ///< default mask 0
inline const LoggerComponent &legacyClient = loggerComponent(ComponentId::LegacyClient); ///< default mask: all

class ScriptedLogger : public BasicLogger {
  public:
    explicit ScriptedLogger(const std::string &logFile, uint32_t width = 15) : BasicLogger(logFile, width) {}
    ~ScriptedLogger() override {
        if (isInstance(this))
            unpublish();
    }

    void readSetting(const std::string &name, uint32_t &value, uint32_t defaultValue) override {
        reads.push_back(name);
        if (onRead)
            onRead(name);
        const auto setting = settings.find(name);
        value = setting == settings.end() ? defaultValue : setting->second;
    }
    void onLogFileMissing() override { ++missing; }
    std::string linePrefix(const LoggerComponent &, uint32_t, const char *) override {
        if (onPrefix)
            onPrefix();
        return prefix;
    }
    std::string lineSuffix(const LoggerComponent &, uint32_t, const char *) override { return suffix; }

    /// Takes the place of whoever is the logger of the process.
    void publishAsInstance() {
        unpublish();
        if (!offerAsInstance())
            throw std::logic_error("there is a logger of the process");
    }
    bool offerAsInstance() { return publish(this); }

    std::map<std::string, uint32_t> settings{{"Clocktime_In_Header", 0}};
    std::vector<std::string> reads;
    std::function<void(const std::string &)> onRead;
    std::function<void()> onPrefix;
    std::string prefix, suffix;
    int missing = 0;
};

/// A scripted logger with its file in a folder of its own; the clock is off.
class LogToFile {
  public:
    TemporaryFolder folder;
    std::string file = (folder / uniqueLogName()).string();
    ScriptedLogger logger{file};

    void write(const char *text, ComponentId component = ComponentId::Bidi) {
        logger.write(loggerComponent(component), 2, text);
    }
    std::string content() const { return readFile(file); }
};

/// What one line of the component "Bidi" looks like without header fields.
inline std::string bidiLine(const std::string &text) {
    return "Bidi            " + text + "\r\n";
}

/// The tick count of the process, as this test program is told it.
class TickCount {
  public:
    explicit TickCount(DWORD start) : now(start) {}

    DWORD now;

  private:
    ImportHook<"GetTickCount", DWORD()> hook_{GetModuleHandleA(nullptr), [this] { return now; }};
};

} // namespace kal::test
