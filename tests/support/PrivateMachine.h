// A machine of the test's own: HKEY_LOCAL_MACHINE and the all-users folder of this process lead to empty places, so
// that tests that run at the same time share neither logger settings nor log file.
#pragma once

#include "tests/support/TemporaryFolder.h"

#include <cstdint>
#include <string>
#include <vector>

#include <windows.h>

namespace kal::test {

class PrivateMachine {
  public:
    /// The library's key exists and holds no settings: only errors are logged.
    PrivateMachine();
    ~PrivateMachine();
    PrivateMachine(const PrivateMachine &) = delete;
    PrivateMachine &operator=(const PrivateMachine &) = delete;

    /// Path of the library's own key below HKEY_LOCAL_MACHINE, for kalclient.dll ("kalc") or another brand code.
    static std::string localRoot(const std::string &brandCode = "kalc");

    /// Stores a logger setting. A logger reads each at most every 5000 ms; a fresh registration has a fresh logger.
    void setLogger(const std::string &name, uint32_t value, const std::string &brandCode = "kalc");
    /// Switches the log on, all components at all levels, without the clock: lines are the component in 15 columns, a
    /// blank, the indentation and the text.
    void logEverything();
    /// Removes the library's key, which silences the logger wholly.
    void removeKey(const std::string &brandCode = "kalc");

    std::filesystem::path logFile(const std::string &brandCode = "kalc") const;
    /// The lines of the log without their line ends.
    std::vector<std::string> logLines(const std::string &brandCode = "kalc") const;
    /// The lines without component and blanks before the text: "+KalClose() handle=5".
    std::vector<std::string> logTexts(const std::string &brandCode = "kalc") const;
    void deleteLog(const std::string &brandCode = "kalc") const;

  private:
    TemporaryFolder folder_;
    std::string previousAllUsers_;
    std::string keyName_;
    HKEY root_ = nullptr;
};

} // namespace kal::test
