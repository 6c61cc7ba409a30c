// An example program as a test starts it: against virtual printers of its own, with a spool of its own.
#pragma once

#include "tests/support/TemporaryFolder.h"

#include <windows.h>

#include <filesystem>
#include <string>
#include <vector>

namespace kal::test {

/// Virtual printers for the programs that are started while it lives.
class VirtualPrinters {
  public:
    /// @param configuration  what the simulator reads
    explicit VirtualPrinters(const std::string &configuration);
    ~VirtualPrinters();
    VirtualPrinters(const VirtualPrinters &) = delete;
    VirtualPrinters &operator=(const VirtualPrinters &) = delete;

    /// The documents that were printed to their ends, in the order of the jobs.
    [[nodiscard]] std::vector<std::string> documents() const;
    /// Files of jobs that are neither ended nor cancelled.
    [[nodiscard]] size_t unfinishedJobs() const;
    /// How often an entry point was called; the configuration must ask for logCalls.
    [[nodiscard]] size_t calls(const std::string &entryPoint) const;

  private:
    TemporaryFolder folder_;
};

/// A running program, started from the folder of the test program; ended with the test when it still runs then.
class ProgramUnderTest {
  public:
    /// @param folder  where the program lies; its own folder is also where it runs
    ProgramUnderTest(const std::filesystem::path &folder, const std::wstring &commandLine);
    ~ProgramUnderTest();
    ProgramUnderTest(const ProgramUnderTest &) = delete;
    ProgramUnderTest &operator=(const ProgramUnderTest &) = delete;

    [[nodiscard]] DWORD processId() const { return process_.dwProcessId; }
    [[nodiscard]] HANDLE process() const { return process_.hProcess; }
    [[nodiscard]] bool hasEnded() const { return WaitForSingleObject(process_.hProcess, 0) == WAIT_OBJECT_0; }
    /// Waits for the program to end by itself. @return its exit code; STILL_ACTIVE when it does not end
    [[nodiscard]] DWORD exitCode(DWORD milliseconds = 30000) const;
    /// What it wrote to its error output; to be asked after its end.
    [[nodiscard]] std::string errorOutput() const { return readFile(errorFile_); }

  private:
    TemporaryFolder folder_;
    std::filesystem::path errorFile_;
    PROCESS_INFORMATION process_ = {};
};

} // namespace kal::test
