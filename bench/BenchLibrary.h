#pragma once

#include "api/kal.h"
#include "comc/comc.h"

#include <windows.h>

#include <string>

namespace bench {

/// What the library finds in the registry.
enum class LogState { keyMissing, off, on };

[[nodiscard]] const char *nameOf(LogState state);
inline constexpr LogState logStates[] = {LogState::keyMissing, LogState::off, LogState::on};

/// The library, loaded from beside the program under the program's own name with ".dll", so that its settings and its
/// log are nobody else's.
class BenchLibrary {
  public:
    BenchLibrary();
    BenchLibrary(const BenchLibrary &) = delete;
    BenchLibrary &operator=(const BenchLibrary &) = delete;
    ~BenchLibrary();

    [[nodiscard]] HMODULE module() const noexcept { return module_; }

    /// An export, with the type that the header gives it: library.get<decltype(KalClose)>("KalClose").
    template <class Function>
    [[nodiscard]] Function *get(const char *name) const {
        return reinterpret_cast<Function *>(find(module_, name));
    }

    /// Makes the registry so, deletes the log, and registers anew so that nothing is cached.
    void enter(LogState state);

    /// The callbacks that the library gave the service; comc.dll must be loaded.
    [[nodiscard]] static OrxAlertCallback alertCallback();
    [[nodiscard]] static OrxNotificationCallback notificationCallback();

    /// How many printers the service finds from now on; comc.dll must be loaded.
    static void setPrinterCount(uint32_t count);

    [[nodiscard]] const std::string &logPath() const noexcept { return logPath_; }
    [[nodiscard]] const std::string &settingsKey() const noexcept { return settingsKey_; }

  private:
    static void *find(HMODULE module, const char *name);
    void removeKey() const;

    HMODULE module_;
    std::string settingsKey_; ///< the local root, without its last backslash
    std::string logPath_;
    bool isRegistered_ = false;
};

} // namespace bench
