#pragma once

#include "logging/BasicLogger.h"
#include "settings/Settings.h"

namespace kal {

/// The logger of the process. Its settings are the values of the "Logger" subkey of the library's local root.
class Logger : public BasicLogger {
  public:
    /// The file is %ALLUSERSPROFILE%\ and the library's local id with ".log".
    Logger();

    /// Reads a number from the "Logger" subkey. Throws if the value exists but has another type.
    void readSetting(const std::string &name, uint32_t &value, uint32_t defaultValue) override;

    /// Makes the logger of the process if there is none. Uses the one that keepInstance kept, if any.
    static void createInstance();
    /// Destroys the logger of the process, if there is one.
    static void destroyInstance() noexcept;
    /// Leaves the process without a logger, but keeps the object for the next createInstance and for running writes.
    static void keepInstance() noexcept;

  private:
    Settings settings_;
};

} // namespace kal
