// Redirects HKEY_LOCAL_MACHINE and the all-users folder of this process to empty places, so that tests that run at the
// same time share neither logger settings nor log file.
#pragma once

#include "tests/support/TemporaryFolder.h"

#include <cstdint>
#include <string>
#include <vector>

#include <windows.h>

namespace kal::test {

class PrivateMachine {
  public:
    /// The library's key exists without settings, so only errors are logged.
    PrivateMachine();
    ~PrivateMachine();
    PrivateMachine(const PrivateMachine &) = delete;
    PrivateMachine &operator=(const PrivateMachine &) = delete;

    /// Path of the library's own key below HKEY_LOCAL_MACHINE, for kalclient.dll ("kalc") or another brand code.
    static std::string localRoot(const std::string &brandCode = "kalc");

    /// Stores a logger setting. A logger reads each setting at most every 5000 ms; a new registration has a new logger.
    void setLogger(const std::string &name, uint32_t value, const std::string &brandCode = "kalc");
    /// Switches on the log for all components and levels, without the clock. A line is the component in 15 columns, a
    /// space, the indentation and the text.
    void logEverything();
    /// Removes the library's key, which stops all logging.
    void removeKey(const std::string &brandCode = "kalc");

    std::filesystem::path logFile(const std::string &brandCode = "kalc") const;
    /// The lines of the log without their line ends.
    std::vector<std::string> logLines(const std::string &brandCode = "kalc") const;
    /// The lines without the component and the spaces before the text: "+KalClose() handle=5".
    std::vector<std::string> logTexts(const std::string &brandCode = "kalc") const;
    void deleteLog(const std::string &brandCode = "kalc") const;

  private:
    TemporaryFolder folder_;
    std::string previousAllUsers_;
    std::string keyName_;
    HKEY root_ = nullptr;
};

} // namespace kal::test
