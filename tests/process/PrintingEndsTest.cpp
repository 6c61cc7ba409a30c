// Print jobs of processes that end, of a spool that goes and of a service that is given up in the middle: what is lost
// is that job alone, and whoever still runs is told.
#include "api/kal.h"
#include "tests/process/ChildProcess.h"
#include "tests/process/LogProcesses.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <set>
#include <string>
#include <vector>

using namespace kal::test;

namespace {

constexpr char printers[] = R"({ "printers": [
  { "handle": 1, "transport": "USB1", "port": "USB001", "device": "BpdPrinter", "printingMs": 0 },
  { "handle": 2, "transport": "USB1", "port": "USB002", "device": "CpdPrinter", "printingMs": 0 } ] })";

class Printing : public testing::Test {
  protected:
    Printing() {
        SetEnvironmentVariableA(parentVariable, std::to_string(GetCurrentProcessId()).c_str());
        SetEnvironmentVariableA("KAL_SIMULATOR_CONFIG", folder.write("comc.json", printers).c_str());
        SetEnvironmentVariableA("KAL_SIMULATOR_SPOOL", spool.string().c_str());
    }
    ~Printing() override {
        SetEnvironmentVariableA("KAL_SIMULATOR_CONFIG", nullptr);
        SetEnvironmentVariableA("KAL_SIMULATOR_SPOOL", nullptr);
    }

    static std::unique_ptr<ChildProcess> start(int handle, int jobs, int pieces, const std::string &marker = "") {
        return std::make_unique<ChildProcess>("job_printer.exe", std::to_string(handle) + " " + std::to_string(jobs) +
                                                                     " " + std::to_string(pieces) + " " + marker);
    }
    static std::string document(const std::string &name, int pieces) {
        std::string text;
        for (int number = 0; number < pieces; ++number)
            text += name + " piece " + std::to_string(number) + "\n";
        return text;
    }
    /// The finished documents in the spool.
    std::multiset<std::string> documents() const {
        std::multiset<std::string> found;
        std::error_code missing;
        for (const auto &entry : std::filesystem::directory_iterator(spool, missing))
            if (entry.path().extension() == ".prn")
                found.insert(readFile(entry.path()));
        return found;
    }
    static bool waitFor(const std::filesystem::path &file) {
        for (DWORD waited = 0; waited < patience; waited += 5, Sleep(5))
            if (std::filesystem::exists(file))
                return true;
        return false;
    }

    KernelObject ready{CreateSemaphoreA(nullptr, 0, 1000, sharedName("ready", GetCurrentProcessId()).c_str())};
    TemporaryFolder folder;
    std::filesystem::path spool = folder / "spool";
};

} // namespace

TEST_F(Printing, ProcessThatEndsInMidJobTakesNoJobOfOthersWithIt) {
    const auto ending = start(1, 1, 100, (folder / "marker").string());
    ASSERT_TRUE(waitFor(folder / "marker"));
    const auto staying = start(2, 3, 100);
    ending->end();
    ASSERT_EQ(staying->exitCode(), 0u);
    std::multiset<std::string> expected;
    for (int number = 0; number < 3; ++number)
        expected.insert(document(std::to_string(staying->id()) + "-" + std::to_string(number), 100));
    EXPECT_EQ(documents(), expected); // and nothing of the process that ended
    const auto later = start(1, 1, 10);
    ASSERT_EQ(later->exitCode(), 0u);
    expected.insert(document(std::to_string(later->id()) + "-0", 10));
    EXPECT_EQ(documents(), expected);
}

TEST_F(Printing, EveryFinishedDocumentIsWholeWhereverProcessesEnd) {
    constexpr int victimsAtOnce = 3, jobs = 4, pieces = 20;
    const int ends = numberOfSuddenEnds();
    const unsigned seed = suddenEndSeed();
    std::mt19937 random(seed);
    std::printf("seed of the sudden ends: %u\n", seed);
    size_t finishedByVictims = 0;
    int ended = 0, endedInMidJob = 0, outlived = 0;
    for (; ended < ends; ended += victimsAtOnce) {
        std::vector<std::unique_ptr<ChildProcess>> victims;
        for (int number = 0; number < victimsAtOnce; ++number)
            victims.push_back(start(1, 10000, pieces));
        for (int number = 0; number < victimsAtOnce; ++number)
            ASSERT_TRUE(ready.wait(patience));
        const auto staying = start(2, jobs, pieces);
        for (const auto &victim : victims) {
            Sleep(random() % 20);
            victim->end();
        }
        outlived += staying->isRunning() ? 1 : 0;
        ASSERT_EQ(staying->exitCode(), 0u);
        ASSERT_TRUE(ready.wait(patience));
        const auto found = documents();
        for (int number = 0; number < jobs; ++number)
            ASSERT_EQ(found.count(document(std::to_string(staying->id()) + "-" + std::to_string(number), pieces)), 1u);
        for (const std::string &text : found)
            ASSERT_EQ(text, document(text.substr(0, text.find(' ')), pieces)) << "after " << ended << " ends";
        finishedByVictims += found.size() - jobs;
        for (const auto &entry : std::filesystem::directory_iterator(spool))
            endedInMidJob += entry.path().extension() == ".part";
        std::filesystem::remove_all(spool);
    }
    const int rounds = ended / victimsAtOnce;
    std::printf(
        "%d sudden ends, %d of them in mid-job, %zu documents were finished before; the others went on behind them "
        "in %d of %d rounds\n",
        ended, endedInMidJob, finishedByVictims, outlived, rounds);
    // Else the ends came at the wrong moment and the test shows nothing.
    EXPECT_GT(endedInMidJob, ends / 4);
    EXPECT_GT(outlived, rounds / 2);
}

TEST_F(Printing, ServiceGivenUpInMidJobLosesThatJobAndNoOther) {
    const auto start = [](uint16_t handle, const std::string &text) {
        EXPECT_EQ(KalOpen(0, handle, 0), KAL_OKAY);
        EXPECT_EQ(KalStartDoc(handle, 0, "document"), KAL_OKAY);
        auto count = static_cast<uint32_t>(text.size());
        EXPECT_EQ(KalWrite(0, handle, 0, text.data(), &count), KAL_OKAY);
    };
    KalRegisterApp(0);
    start(1, "first");
    start(2, "second");
    EXPECT_EQ(KalEndDoc(1, 0), KAL_OKAY);
    KalUnregisterApp(0); // the service's library goes, whatever is open
    EXPECT_EQ(GetModuleHandleA("comc.dll"), nullptr);
    KalRegisterApp(0);
    uint32_t count = 1;
    EXPECT_EQ(KalWrite(0, 2, 0, "x", &count), KAL_FAIL); // a handle of the registration before
    EXPECT_EQ(KalEndDoc(2, 0), KAL_FAIL);
    start(2, "third");
    EXPECT_EQ(KalEndDoc(2, 0), KAL_OKAY);
    KalClose(0, 2);
    KalUnregisterApp(0);
    EXPECT_EQ(documents(), (std::multiset<std::string>{"first", "third"}));
}

/// As far as the system lets a folder go that a job writes to: the files that nobody holds open.
TEST_F(Printing, SpoolEmptiedInMidJobLosesNoJobUnderWay) {
    const auto printing = start(1, 2, 100, (folder / "marker").string());
    ASSERT_TRUE(waitFor(folder / "marker"));
    for (const auto &entry : std::filesystem::directory_iterator(spool)) {
        std::error_code held;
        std::filesystem::remove(entry.path(), held);
    }
    std::filesystem::remove(folder / "marker");
    EXPECT_EQ(printing->exitCode(), 0u);
    EXPECT_EQ(documents().size(), 2u);
}
