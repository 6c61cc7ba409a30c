#pragma once

#include "logging/BasicLogger.h"
#include "settings/Settings.h"

namespace kal {

/// The logger of the process, configured in the registry: values of the "Logger" subkey of the library's local root.
class Logger : public BasicLogger {
  public:
    /// %ALLUSERSPROFILE% and the library's local id with ".log".
    Logger();

    /// Reads a number from the "Logger" subkey. Throws when the value is there but of another type.
    void readSetting(const std::string &name, uint32_t &value, uint32_t defaultValue) override;

    /// Makes the logger of the process when there is none; takes the one that was kept, if there is one.
    static void createInstance();
    /// Destroys the logger of the process when there is one.
    static void destroyInstance() noexcept;
    /// Takes the logger of the process away, but keeps it for the next createInstance: another thread may still write.
    static void keepInstance() noexcept;

  private:
    Settings settings_;
};

} // namespace kal
