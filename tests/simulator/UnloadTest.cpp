#include "tests/endurance/ProcessFigures.h"
#include "tests/simulator/LoadedSimulator.h"

#include <atomic>

#include <gtest/gtest.h>

#include <tlhelp32.h>

using namespace kal::test;

namespace {

constexpr const char *endlessBurst =
    R"("timeline":[{"printer":1,"from":"registration","alert":"warning","count":4000000000,"intervalMs":1}])";

std::atomic<uint32_t> alerts{0};
HANDLE entered = nullptr;
HANDLE mayLeave = nullptr;

uint32_t countAlert(uint32_t, const uint8_t *, uint32_t) {
    return ++alerts;
}

uint32_t waitInAlert(uint32_t, const uint8_t *, uint32_t) {
    SetEvent(entered);
    WaitForSingleObject(mayLeave, 10000);
    return 0;
}

bool isLoaded() {
    return GetModuleHandleA("comc.dll") != nullptr;
}

bool isUnloadedWithin(uint32_t timeMs) {
    const auto deadline = nowMs() + timeMs;
    while (isLoaded() && nowMs() < deadline)
        Sleep(5);
    return !isLoaded();
}

/// Of this process.
DWORD countThreads() {
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 thread{};
    thread.dwSize = sizeof thread;
    DWORD count = 0;
    for (BOOL isFound = Thread32First(snapshot, &thread); isFound; isFound = Thread32Next(snapshot, &thread)) {
        count += thread.th32OwnerProcessID == GetCurrentProcessId() ? 1 : 0;
    }
    CloseHandle(snapshot);
    return count;
}

TEST(SimulatorUnload, IdleLibraryIsGoneAtOnce) {
    LoadedSimulator simulator;
    simulator.unload();
    EXPECT_FALSE(isLoaded());
}

TEST(SimulatorUnload, RunningTimelineEndsWithTheLibrary) {
    for (int round = 0; round < 25; ++round) {
        alerts = 0;
        LoadedSimulator simulator(LoadedSimulator::withPlainPrinters(endlessBurst));
        simulator.open(1);
        simulator.registerAlerts(1, &countAlert);
        const auto deadline = nowMs() + 3000;
        while (alerts == 0 && nowMs() < deadline)
            Sleep(1);
        simulator.unload();
        ASSERT_TRUE(isUnloadedWithin(2000));
        const auto after = alerts.load();
        ASSERT_GT(after, 0u);
        Sleep(5);
        ASSERT_EQ(alerts, after);
    }
}

struct BlockedCallback : testing::Test {
    BlockedCallback() {
        entered = CreateEventA(nullptr, TRUE, FALSE, nullptr);
        mayLeave = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    }
    ~BlockedCallback() override {
        CloseHandle(entered);
        CloseHandle(mayLeave);
    }
};

TEST_F(BlockedCallback, UninitializeDoesNotWaitForACallback) {
    LoadedSimulator simulator(LoadedSimulator::withPlainPrinters(endlessBurst));
    simulator.open(1);
    simulator.registerAlerts(1, &waitInAlert);
    ASSERT_EQ(WaitForSingleObject(entered, 3000), WAIT_OBJECT_0);
    const auto before = nowMs();
    simulator.unload();
    EXPECT_LT(nowMs() - before, 500u);
    EXPECT_TRUE(isLoaded()); // until the callback has come back
    SetEvent(mayLeave);
    EXPECT_TRUE(isUnloadedWithin(3000));
}

TEST_F(BlockedCallback, LibraryLoadedAgainMeanwhileWorks) {
    LoadedSimulator simulator(LoadedSimulator::withPlainPrinters(endlessBurst));
    simulator.open(1);
    simulator.registerAlerts(1, &waitInAlert);
    ASSERT_EQ(WaitForSingleObject(entered, 3000), WAIT_OBJECT_0);
    simulator.reload();
    EXPECT_EQ(simulator.print(1, "x"), 0u);
    const DWORD before = countThreads();
    SetEvent(mayLeave);
    const auto deadline = nowMs() + 5000;
    while (countThreads() == before && nowMs() < deadline) {
        Sleep(5);
    }
    ASSERT_LT(countThreads(), before); // the thread that was in the callback has ended
    EXPECT_EQ(simulator.print(2, "y"), 0u);
    simulator.unload();
    EXPECT_TRUE(isUnloadedWithin(3000));
}

TEST(SimulatorUnload, ManyLoadsLeaveNoThreadAndNoHandleBehind) {
    constexpr DWORD rounds = 50;
    constexpr DWORD keptByTheThreadLibrary = 2; // of each load: MinGW's own, an event and a thread's
    LoadedSimulator simulator;
    simulator.reload();
    const DWORD threads = countThreads();
    const DWORD handles = ProcessFigures::now().handles;
    ASSERT_GT(threads, 0u);
    ASSERT_GT(handles, 0u);
    for (DWORD round = 0; round < rounds; ++round) {
        simulator.reload();
    }
    EXPECT_EQ(countThreads(), threads);
    EXPECT_LE(ProcessFigures::now().handles, handles + rounds * keptByTheThreadLibrary);
}

} // namespace
