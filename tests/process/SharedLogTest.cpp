// One log, many processes: every line whole, none lost, whoever dies in between.
#include "tests/process/LogProcesses.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <windows.h>

using namespace kal::test;

namespace {

constexpr char libraryName[] = "kalprocess.dll";
constexpr char logName[] = "kalp.log";
constexpr DWORD patience = 300000;

class KernelObject {
  public:
    explicit KernelObject(HANDLE handle) : handle_(handle) {
        if (handle == nullptr)
            throw std::runtime_error("kernel object: " + std::to_string(GetLastError()));
    }
    ~KernelObject() { CloseHandle(handle_); }
    KernelObject(const KernelObject &) = delete;
    KernelObject &operator=(const KernelObject &) = delete;

    HANDLE get() const { return handle_; }
    bool wait(DWORD milliseconds) const { return WaitForSingleObject(handle_, milliseconds) == WAIT_OBJECT_0; }

  private:
    HANDLE handle_;
};

/// A process of this test program's; ended with the object.
class Writer {
  public:
    explicit Writer(const std::string &arguments) {
        std::string command = (programFolder() / "log_writer.exe").string() + " " + arguments;
        STARTUPINFOA startup = {};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION information = {};
        if (!CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                            &information))
            throw std::runtime_error("cannot start log_writer: " + std::to_string(GetLastError()));
        CloseHandle(information.hThread);
        process_ = std::make_unique<KernelObject>(information.hProcess);
        id_ = information.dwProcessId;
    }
    ~Writer() { end(); }
    Writer(const Writer &) = delete;
    Writer &operator=(const Writer &) = delete;

    DWORD id() const { return id_; }
    void end() const {
        TerminateProcess(process_->get(), 99);
        process_->wait(patience);
    }
    bool isRunning() const { return !process_->wait(0); }
    DWORD exitCode() const {
        DWORD code = STILL_ACTIVE;
        if (process_->wait(patience))
            GetExitCodeProcess(process_->get(), &code);
        return code;
    }

  private:
    std::unique_ptr<KernelObject> process_;
    DWORD id_ = 0;
};

struct Line {
    DWORD process;
    DWORD thread;
    std::string text; ///< with its indentation
};

/// The log's lines; a line that is not whole is reported as a failure.
std::vector<Line> parse(const std::string &log) {
    static const std::regex form(R"(\d{4}/\d{2}/\d{2}-\d{2}:\d{2}:\d{2}\.\d{3} pid=([0-9a-f]{4,8}) )"
                                 R"(tid=([0-9a-f]{4,8}) LegacyClient    ( *\S.*\S)\r)");
    std::vector<Line> lines;
    std::istringstream stream(log);
    for (std::string line; std::getline(stream, line);) {
        std::smatch parts;
        if (!std::regex_match(line, parts, form)) {
            ADD_FAILURE() << "torn line: " << line;
            continue;
        }
        lines.push_back({static_cast<DWORD>(std::stoul(parts[1], nullptr, 16)),
                         static_cast<DWORD>(std::stoul(parts[2], nullptr, 16)), parts[3]});
    }
    EXPECT_TRUE(log.ends_with("\r\n"));
    return lines;
}

/// What one thread writes for its calls, in order.
std::vector<std::string> linesOfCalls(int calls) {
    std::vector<std::string> lines;
    for (int handle = 1; handle <= calls; ++handle) {
        const std::string inner = "KalClose() handle=" + std::to_string(handle);
        lines.insert(lines.end(), {"+KalCloseLM", " +" + inner, " -" + inner + " rc=DEVERR_INVHANDLE", "-KalCloseLM"});
    }
    return lines;
}

constexpr size_t linesOfACall = 4;

using LinesByThread = std::map<DWORD, std::map<DWORD, std::vector<std::string>>>;

class SharedLog : public testing::Test {
  protected:
    SharedLog() {
        SetEnvironmentVariableA(parentVariable, std::to_string(GetCurrentProcessId()).c_str());
        std::filesystem::copy_file(programFolder() / "kalclient.dll", folder / libraryName);
    }

    Writer &start(int threads, int calls, const std::string &how = "") {
        writers.push_back(std::make_unique<Writer>(folder.path().string() + " " + libraryName + " " +
                                                   std::to_string(threads) + " " + std::to_string(calls) + " " + how));
        return *writers.back();
    }
    /// Lets all processes go when each has said that it is ready.
    void letGo() {
        for (size_t number = 0; number < writers.size(); ++number)
            ASSERT_TRUE(ready.wait(patience));
        SetEvent(go.get());
    }
    std::string log() const { return readFile(folder / logName); }

    /// The processes, each with its threads, each with the lines it wrote in order. Lines of the processes' main
    /// threads, which register and unregister, are left out.
    LinesByThread linesByThread() const {
        LinesByThread lines;
        for (const Line &line : parse(log()))
            if (line.text.find("KalClose") != std::string::npos)
                lines[line.process][line.thread].push_back(line.text);
        return lines;
    }
    static void expectAllLinesOf(const Writer &writer, const LinesByThread &lines, int threads, int calls) {
        ASSERT_TRUE(lines.contains(writer.id()));
        EXPECT_EQ(lines.at(writer.id()).size(), static_cast<size_t>(threads));
        const std::vector<std::string> expected = linesOfCalls(calls);
        for (const auto &[thread, texts] : lines.at(writer.id())) {
            const auto [found, missing] = std::ranges::mismatch(texts, expected);
            EXPECT_TRUE(texts == expected)
                << "process " << writer.id() << " thread " << thread << " wrote " << texts.size()
                << " lines, first other: " << (found == texts.end() ? "(end)" : *found) << " instead of "
                << (missing == expected.end() ? "(end)" : *missing);
        }
    }

    KernelObject ready{CreateSemaphoreA(nullptr, 0, 1000, sharedName("ready", GetCurrentProcessId()).c_str())};
    KernelObject go{CreateEventA(nullptr, TRUE, FALSE, sharedName("start", GetCurrentProcessId()).c_str())};
    KernelObject holding{CreateEventA(nullptr, TRUE, FALSE, sharedName("holding", GetCurrentProcessId()).c_str())};
    TemporaryFolder folder;
    std::vector<std::unique_ptr<Writer>> writers;
};

} // namespace

TEST_F(SharedLog, KeepsEveryLineOfEightProcessesWithFourThreads) {
    constexpr int processes = 8, threads = 4, calls = 157; // 20,096 lines of calls
    static_assert(processes * threads * calls * linesOfACall >= 20000);
    for (int number = 0; number < processes; ++number)
        start(threads, calls);
    letGo();
    for (const auto &writer : writers)
        ASSERT_EQ(writer->exitCode(), 0u);
    const LinesByThread lines = linesByThread();
    EXPECT_EQ(lines.size(), size_t{processes});
    for (const auto &writer : writers)
        expectAllLinesOf(*writer, lines, threads, calls);
}

TEST_F(SharedLog, GoesOnWhenAProcessEndsThatHoldsItsLock) {
    constexpr int threads = 2, calls = 20;
    Writer &stalling = start(1, 1, "stall");
    ASSERT_TRUE(ready.wait(patience));
    SetEvent(go.get());
    ASSERT_TRUE(holding.wait(patience));
    const Writer &first = start(threads, calls);
    const Writer &second = start(threads, calls);
    ASSERT_TRUE(ready.wait(patience));
    ASSERT_TRUE(ready.wait(patience));
    Sleep(200);
    const std::string whileHeld = log();
    const bool waited = first.isRunning() && second.isRunning();
    stalling.end();
    ASSERT_EQ(first.exitCode(), 0u);
    ASSERT_EQ(second.exitCode(), 0u);
    EXPECT_EQ(whileHeld, "");
    EXPECT_TRUE(waited);
    const LinesByThread lines = linesByThread();
    expectAllLinesOf(first, lines, threads, calls);
    expectAllLinesOf(second, lines, threads, calls);
}

TEST_F(SharedLog, LosesNothingOfTheOthersWhenAProcessEndsAmidItsLines) {
    constexpr int threads = 4, calls = 60;
    const Writer &ending = start(threads, 60000);
    const Writer &staying = start(threads, calls);
    letGo();
    while (log().size() < 20000)
        Sleep(5);
    ending.end();
    ASSERT_EQ(staying.exitCode(), 0u);
    expectAllLinesOf(staying, linesByThread(), threads, calls);
}
