// A process may load and free each of the shipped DLLs any number of times, and nothing is lost.

#include "api/kal.h"
#include "tests/support/ProcessHoldings.h"
#include "tests/support/StagedLibrary.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cctype>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace kal::test {

namespace {

constexpr int loads = 500;
constexpr int loadsWithUse = 100;

/// Blocks that come and go with the system's own loading; one block lost per load would be at least 100.
constexpr int64_t blocksOfTheSystem = 20;

/// Handles that come and go with ending threads; one lost per load would be at least 100.
constexpr DWORD handlesOfTheSystem = 5;

class LoadedOnce {
  public:
    explicit LoadedOnce(const std::string &name) : module_(LoadLibraryA((programFolder() / name).string().c_str())) {
        if (module_ == nullptr)
            throw std::runtime_error("cannot load " + name + ": " + std::to_string(GetLastError()));
    }
    ~LoadedOnce() { FreeLibrary(module_); }
    LoadedOnce(const LoadedOnce &) = delete;
    LoadedOnce &operator=(const LoadedOnce &) = delete;

    HMODULE module() const { return module_; }

  private:
    HMODULE module_;
};

/// Compares what the process holds before and after many rounds. The first few find what the system keeps.
void expectNothingLost(int rounds, const std::function<void()> &round) {
    for (int first = 0; first < 5; ++first)
        round();
    const ProcessHoldings before = ProcessHoldings::now();
    for (int load = 0; load < rounds; ++load)
        round();
    const ProcessHoldings after = ProcessHoldings::now();
    EXPECT_LT(after.blocks - before.blocks, blocksOfTheSystem)
        << after.bytes - before.bytes << " bytes lost in " << rounds << " loads";
    EXPECT_LT(after.handles, before.handles + handlesOfTheSystem);
    EXPECT_EQ(after.threadSlot, before.threadSlot);
    EXPECT_EQ(after.fiberSlot, before.fiberSlot);
}

/// By path, below the program's folder.
class Reload : public testing::TestWithParam<const char *> {};

TEST_P(Reload, LosesNothing) {
    const TemporaryFolder recordings;
    SetEnvironmentVariableW(L"KAL_SPY_FOLDER", recordings.path().c_str());
    expectNothingLost(loads, [] {
        const LoadedOnce library(GetParam());
        ASSERT_NE(library.module(), nullptr);
    });
    EXPECT_EQ(GetModuleHandleA((programFolder() / GetParam()).string().c_str()), nullptr) << "it was not unloaded";
}

INSTANTIATE_TEST_SUITE_P(Shipped, Reload,
                         testing::Values("kalclient.dll", "simulator/comc.dll", "spy/comc.dll", "comc-recorder.dll"),
                         [](const auto &library) {
                             std::string name = library.param;
                             for (char &character : name)
                                 character = std::isalnum(static_cast<unsigned char>(character)) != 0 ? character : '_';
                             return name;
                         });

void callUnregistered(const LoadedOnce &library) {
    try {
        exported<decltype(KalFlushMWOBuffer)>(library.module(), "KalFlushMWOBuffer")();
    } catch (...) {
        return; // nobody is registered
    }
    throw std::logic_error("no exception");
}

TEST(ReloadAfterUse, RegistrationLosesNothing) {
    expectNothingLost(loadsWithUse, [] {
        const LoadedOnce library("kalclient.dll");
        exported<decltype(KalRegisterApp)>(library.module(), "KalRegisterApp")(0);
        exported<decltype(KalUnregisterApp)>(library.module(), "KalUnregisterApp")(0);
    });
}

TEST(ReloadAfterUse, ExceptionLosesNothing) {
    expectNothingLost(loadsWithUse, [] { callUnregistered(LoadedOnce("kalclient.dll")); });
}

/// A thread that waits until it is given work, and lives until its owner is destroyed.
class Worker {
  public:
    Worker() : thread_([this] { run(); }) {}
    ~Worker() {
        work_ = {};
        SetEvent(given_);
        thread_.join();
        CloseHandle(given_);
        CloseHandle(done_);
    }
    Worker(const Worker &) = delete;
    Worker &operator=(const Worker &) = delete;

    void runHere(const std::function<void()> &work) {
        work_ = work;
        SetEvent(given_);
        WaitForSingleObject(done_, INFINITE);
    }

  private:
    void run() {
        while (WaitForSingleObject(given_, INFINITE) == WAIT_OBJECT_0 && work_) {
            work_();
            SetEvent(done_);
        }
    }

    std::function<void()> work_;
    HANDLE given_ = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    HANDLE done_ = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    std::thread thread_;
};

TEST(ReloadAfterUse, ThreadThatHasSeenAnExceptionAndLivesOnLosesNothing) {
    Worker first;
    Worker second;
    expectNothingLost(loadsWithUse, [&] {
        const LoadedOnce library("kalclient.dll");
        first.runHere([&] { callUnregistered(library); });
        second.runHere([&] { callUnregistered(library); });
    });
}

TEST(ReloadAfterUse, ThreadThatHasSeenAnExceptionAndEndsLosesNothing) {
    expectNothingLost(loadsWithUse, [] {
        const LoadedOnce library("kalclient.dll");
        Worker().runHere([&] { callUnregistered(library); });
    });
}

/// Each thread has a record of its own: what one thread throws does not disturb the other's handling.
TEST(ReloadAfterUse, ThreadsThrowIndependently) {
    const LoadedOnce library("kalclient.dll");
    std::vector<std::thread> threads;
    std::atomic<int> caught = 0;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            for (int call = 0; call < 1000; ++call) {
                callUnregistered(library);
                ++caught;
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(caught, 4000);
}

} // namespace

} // namespace kal::test
