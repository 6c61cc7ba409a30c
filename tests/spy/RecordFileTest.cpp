// Tests that need a recorder of their own: settings, a folder that cannot be written, large documents. Each runs a
// small client in its own process.
#include "tests/spy/ClientDocument.h"
#include "tests/spy/SpyFixture.h"

#include <windows.h>

using namespace kal::test;
using testing::SizeIs;

namespace {

/// Runs spy_client.exe in its own folder, with the spy in front of the fake service.
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

    /// The client's exit status: the number of calls whose result differs from that without a spy.
    DWORD runClient(const std::string &arguments) {
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
        CloseHandle(process.hProcess);
        CloseHandle(process.hThread);
        return status;
    }

    /// Peak memory use of the client for a document of this size, including its own copy of the document.
    uint64_t peakMemory(size_t documentSize) {
        const auto file = folder / "peak-memory";
        EXPECT_EQ(runClient(std::to_string(documentSize) + " \"" + file.string() + "\""), 0u);
        const uint64_t peak = std::strtoull(readFile(file).c_str(), nullptr, 10);
        EXPECT_GT(peak, documentSize) << "what the client reports is not its memory";
        return peak;
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
    EXPECT_EQ(recording.calls.size(), 4u); // initialize, two writes, uninitialize
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
    // The hash of the first half of the document.
    EXPECT_EQ(data["sha256"], "e24ae9cbcc7500392dfa5d018f63f0bf87232dc30ae5996d8ca6b25c2ae4b665");
    EXPECT_EQ(data.size(), 2u);
    const auto text = readFile(recordingsIn(folder / "recordings").front());
    const auto document = clientDocument(200'000);
    for (size_t at = 0; at < document.size(); at += 8) {
        ASSERT_EQ(text.find(recording::hexadecimal(document.data() + at, 8)), std::string::npos) << "offset " << at;
    }
}

TEST_F(RecordFile, UnredactedLargeDocumentHasEveryByte) {
    EXPECT_EQ(runClient("200000"), 0u);
    std::string recorded;
    std::map<uint64_t, size_t> sizes; // by call
    recording::RecordingParser parser([&](const recording::RecordEvent &event) {
        if (event.kind == recording::EventKind::bytes && event.argument == "data") {
            EXPECT_EQ(event.offset, sizes[event.number]);
            const auto bytes = recording::bytesOf(event.hex);
            sizes[event.number] += bytes.size();
            recorded += bytes;
        }
    });
    std::ifstream lines(recordingsIn(folder / "recordings").front(), std::ios::binary);
    for (std::string line; std::getline(lines, line);) {
        parser.add(line);
    }
    EXPECT_THAT(sizes, SizeIs(2));
    EXPECT_TRUE(recorded == clientDocument(200'000)) << recorded.size() << " bytes";
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
    constexpr size_t smallSize = 65'536;
    constexpr size_t largeSize = 67'108'864;
    constexpr size_t tolerance = 4 * 1024 * 1024;
    SetEnvironmentVariableW(L"KAL_SPY_REDACT", L"1");
    const uint64_t small = peakMemory(smallSize);
    EXPECT_LT(peakMemory(largeSize), small + largeSize + tolerance);
    SetEnvironmentVariableW(L"KAL_SPY_REDACT", nullptr);
    EXPECT_LT(peakMemory(largeSize), small + largeSize + tolerance);
}
