// What needs a recorder of its own: settings, a folder that cannot be written, large documents. Each test runs a small
// client in a process of its own.
#include "tests/spy/SpyFixture.h"

#include <windows.h>

#include <psapi.h>

using namespace kal::test;
using testing::SizeIs;

namespace {

/// Runs spy_client.exe in a folder of its own that has the spy before the double.
class RecordFile : public testing::Test {
  protected:
    RecordFile() {
        for (const char *name : {"comc.dll", "comc-real.dll", "comc-recorder.dll", "spy_client.exe"}) {
            std::filesystem::copy_file(programFolder() / name, folder / name);
        }
        SetEnvironmentVariableW(L"KAL_SPY_FOLDER", nullptr);
        SetEnvironmentVariableW(L"KAL_SPY_REDACT", nullptr);
    }
    ~RecordFile() override {
        SetEnvironmentVariableW(L"KAL_SPY_FOLDER", nullptr);
        SetEnvironmentVariableW(L"KAL_SPY_REDACT", nullptr);
    }

    /// The client's exit status: the count of calls that did not answer as they would without the spy.
    DWORD runClient(const std::string &arguments, SIZE_T *peakMemory = nullptr) {
        std::string command = "\"" + (folder / "spy_client.exe").string() + "\" " + arguments;
        STARTUPINFOA startup{};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION process{};
        if (!CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                            &process)) {
            return 99;
        }
        WaitForSingleObject(process.hProcess, 120'000);
        DWORD status = 98;
        GetExitCodeProcess(process.hProcess, &status);
        PROCESS_MEMORY_COUNTERS counters{};
        counters.cb = sizeof counters;
        GetProcessMemoryInfo(process.hProcess, &counters, sizeof counters);
        if (peakMemory != nullptr) {
            *peakMemory = counters.PeakPagefileUsage;
        }
        CloseHandle(process.hProcess);
        CloseHandle(process.hThread);
        return status;
    }

    recording::Recording only(const std::filesystem::path &where) {
        const auto files = recordingsIn(where);
        EXPECT_THAT(files, SizeIs(1));
        return files.empty() ? recording::Recording() : readRecording(files.front());
    }

    TemporaryFolder folder;
};

} // namespace

TEST_F(RecordFile, LiesBesideTheSpyByItself) {
    EXPECT_EQ(runClient("4"), 0u);
    const auto recording = only(folder / "recordings");
    EXPECT_EQ(recording.calls.size(), 4u); // initialize, two writes of half each, uninitialize
    EXPECT_TRUE(recording.header.program.ends_with("\\spy_client.exe"));
    EXPECT_TRUE(recording.header.service.ends_with("\\comc-real.dll"));
    EXPECT_FALSE(recording.header.redacted);
    EXPECT_TRUE(recordingsIn(folder / "recordings").front().filename().string().starts_with("spy_client-"));
}

TEST_F(RecordFile, LiesWhereTheEnvironmentSays) {
    SetEnvironmentVariableW(L"KAL_SPY_FOLDER", (folder / "deep" / "down").c_str());
    EXPECT_EQ(runClient("4"), 0u);
    EXPECT_EQ(only(folder / "deep\\down").calls.size(), 4u);
    EXPECT_FALSE(std::filesystem::exists(folder / "recordings"));
}

TEST_F(RecordFile, RedactedHasNoDocument) {
    SetEnvironmentVariableW(L"KAL_SPY_REDACT", L"1");
    EXPECT_EQ(runClient("200000"), 0u);
    const auto recording = only(folder / "recordings");
    EXPECT_TRUE(recording.header.redacted);
    const auto data = recording.calls.at(1).begin.values["data"];
    EXPECT_EQ(data["length"], 100000);
    // Of 100,000 times the letter A.
    EXPECT_EQ(data["sha256"], "e6631225e83d23bf67657e85109ad5deb3570e1405d7aaa23a2485ae8582c143");
    EXPECT_EQ(data.size(), 2u);
    EXPECT_EQ(readFile(recordingsIn(folder / "recordings").front()).find("4141"), std::string::npos);
}

TEST_F(RecordFile, UnredactedLargeDocumentHasEveryByte) {
    EXPECT_EQ(runClient("200000"), 0u);
    const auto text = readFile(recordingsIn(folder / "recordings").front());
    size_t bytes = 0;
    for (size_t at = text.find("4141"); at != std::string::npos; at = text.find("41", at + 2)) {
        ++bytes;
    }
    EXPECT_GE(bytes, 200000u);
}

TEST_F(RecordFile, FolderThatCannotBeMadeChangesNothing) {
    SetEnvironmentVariableA("KAL_SPY_FOLDER", folder.write("occupied", "a file").c_str());
    EXPECT_EQ(runClient("4"), 0u);
    EXPECT_EQ(readFile(folder / "occupied"), "a file");
}

TEST_F(RecordFile, MissingRecorderChangesNothing) {
    std::filesystem::remove(folder / "comc-recorder.dll");
    EXPECT_EQ(runClient("4"), 0u);
    EXPECT_FALSE(std::filesystem::exists(folder / "recordings"));
}

TEST_F(RecordFile, MemoryDoesNotGrowWithTheDocument) {
    SIZE_T small = 0;
    SIZE_T large = 0;
    SetEnvironmentVariableW(L"KAL_SPY_REDACT", L"1");
    EXPECT_EQ(runClient("65536", &small), 0u);
    EXPECT_EQ(runClient("67108864", &large), 0u);
    // The client itself has the document in memory.
    EXPECT_LT(large, small + 67108864 + 4 * 1024 * 1024);
    std::filesystem::remove_all(folder / "recordings");
    SetEnvironmentVariableW(L"KAL_SPY_REDACT", nullptr);
    EXPECT_EQ(runClient("67108864", &large), 0u);
    EXPECT_LT(large, small + 67108864 + 4 * 1024 * 1024);
}
