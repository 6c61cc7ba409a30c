// Runs kal.exe as a user does: a process of its own, beside kalclient.dll and the simulator.
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
    /// Each line of the output as JSON.
    [[nodiscard]] std::vector<nlohmann::json> jsonLines() const;
};

/// Waits until the condition holds; false after half a minute.
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

/// kal.exe while it runs; ended by force when the test forgets it.
class RunningTool {
  public:
    RunningTool(const std::filesystem::path &program, const std::string &arguments,
                const std::filesystem::path &outputFolder);
    ~RunningTool();
    RunningTool(const RunningTool &) = delete;
    RunningTool &operator=(const RunningTool &) = delete;

    /// What it has written so far.
    [[nodiscard]] std::string output() const;
    /// Waits until the text stands in the output; false after a while.
    [[nodiscard]] bool waitForOutput(const std::string &text) const;
    /// Ctrl-C. @return false when it could not be sent
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

    /// The simulator's configuration for the runs to come; without one it has its own.
    void configure(const std::string &json);
    ToolRun kal(const std::string &arguments);
    std::unique_ptr<RunningTool> start(const std::string &arguments);

    /// A file of these bytes in the test's folder, its name quoted for the command line.
    std::string file(const std::string &name, const std::string &bytes);
    /// The bytes of each finished job, in order.
    [[nodiscard]] std::vector<std::string> spooledJobs() const;
    /// Names of everything in the spool folder that belongs to a job.
    [[nodiscard]] std::vector<std::string> spoolEntries() const;

    TemporaryFolder folder;

  private:
    int runs_ = 0;
};

/// As ToolTest, with the library's settings key gone at the beginning and at the end, and a log file of the test's own.
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

/// Bytes that no two positions share by accident.
std::string documentOf(size_t size);

} // namespace kal::test
