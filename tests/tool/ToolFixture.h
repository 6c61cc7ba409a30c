// Runs kal.exe in its own process, in a folder with kalclient.dll and the simulator, like a user does.
#pragma once

#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

namespace kal::test {

struct ToolRun {
    int status = -1;
    std::string output;
    std::string error;

    [[nodiscard]] nlohmann::json json() const { return nlohmann::json::parse(output); }
    /// Each line of the output, parsed as JSON.
    [[nodiscard]] std::vector<nlohmann::json> jsonLines() const;
};

/// Waits until the condition is true; returns false after half a minute.
template <class Condition>
bool eventually(const Condition &condition) {
    for (int tries = 0; tries < 3000; ++tries) {
        if (condition()) {
            return true;
        }
        Sleep(10);
    }
    return false;
}

/// A running kal.exe; the destructor kills it if it still runs.
class RunningTool {
  public:
    RunningTool(const std::filesystem::path &program, const std::string &arguments,
                const std::filesystem::path &outputFolder);
    ~RunningTool();
    RunningTool(const RunningTool &) = delete;
    RunningTool &operator=(const RunningTool &) = delete;

    /// The output so far.
    [[nodiscard]] std::string output() const;
    /// Waits until the output contains the text; returns false after a while.
    [[nodiscard]] bool waitForOutput(const std::string &text) const;
    /// Sends Ctrl-C. @return false if that failed
    [[nodiscard]] bool interrupt() const;
    ToolRun finish();

  private:
    PROCESS_INFORMATION process_{};
    std::filesystem::path outputFile_;
    std::filesystem::path errorFile_;
};

class ToolTest : public testing::Test {
  protected:
    ToolTest();

    /// Sets the simulator's configuration for further runs. By default, the built-in configuration is used.
    void configure(const std::string &json);
    ToolRun kal(const std::string &arguments);
    std::unique_ptr<RunningTool> start(const std::string &arguments);

    /// Writes a file in the test's folder. @return its name, quoted for the command line
    std::string file(const std::string &name, const std::string &bytes);
    /// The bytes of each finished job, in order.
    [[nodiscard]] std::vector<std::string> spooledJobs() const;
    /// Names of all files in the spool folder that belong to jobs.
    [[nodiscard]] std::vector<std::string> spoolEntries() const;

    TemporaryFolder folder;

  private:
    int runs_ = 0;
};

/// Like ToolTest, without the library's settings key before and after the test, and with a separate log file.
class LogToolTest : public ToolTest {
  protected:
    LogToolTest();
    ~LogToolTest() override;

    /// Makes the settings key without any setting.
    static void createSettingsKey();
    [[nodiscard]] std::filesystem::path logFile() const;

  private:
    std::string previousAllUsers_;
};

/// Pseudo-random bytes, the same in every run.
std::string documentOf(size_t size);

} // namespace kal::test
