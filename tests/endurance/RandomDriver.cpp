// Plays long sequences of exports from several threads against a service that answers everything it may answer, and
// looks after each call whether the result, the calls of the service and the state of comc.dll are what the interface
// promises.
//
//   random_driver --calls 200000 --threads 8 --seed 1
//
// What a thread does and what the service answers it derive from the seed and the thread's number alone, so the seed of
// a failure replays its sequence; with --threads 1 the references are counted exactly, closes that are missing
// included.
#include "api/kal.h"
#include "tests/endurance/DriverThread.h"
#include "tests/endurance/ProcessFigures.h"
#include "tests/support/PrivateMachine.h"

#include <CLI/CLI.hpp>

#include <chrono>
#include <cstdio>
#include <memory>
#include <mutex>
#include <thread>

using namespace kal::test;

namespace {

struct Options {
    uint64_t seed = 0;
    uint64_t calls = 20000;
    unsigned threads = 4;
    int callsOfRound = 200;
    bool logs = false;
};

constexpr std::chrono::seconds longestStandstill{180};

/// The line that says how a failure is made again.
std::string replayCommand(const Options &options) {
    return "replay: random_driver --seed " + std::to_string(options.seed) + " --calls " +
           std::to_string(options.calls) + " --threads " + std::to_string(options.threads) + " --calls-of-round " +
           std::to_string(options.callsOfRound) + (options.logs ? " --log" : "") + "\n";
}

class RandomDriver {
  public:
    explicit RandomDriver(const Options &options) : options_(options) {
        window_ = CreateWindowExA(0, "STATIC", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
        for (unsigned number = 0; number < options.threads; ++number)
            threads_.push_back(std::make_unique<DriverThread>(service_, options.seed, number,
                                                              isExact() ? &references_ : nullptr, window_));
    }
    ~RandomDriver() { DestroyWindow(window_); }
    RandomDriver(const RandomDriver &) = delete;
    RandomDriver &operator=(const RandomDriver &) = delete;

    /// @return the failure's text, or nothing
    std::string run() {
        const uint64_t rounds =
            std::max<uint64_t>(2, options_.calls / (options_.threads * static_cast<uint64_t>(options_.callsOfRound)));
        for (uint64_t number = 0; number < rounds && failure_.empty(); ++number) {
            playRound(number);
            if (failure_.empty())
                failure_ = endRegistration(number);
            if (number == 0)
                first_ = figures();
        }
        if (failure_.empty())
            failure_ = leftovers();
        return failure_;
    }

    void tell() const {
        uint64_t calls = 0;
        for (const auto &thread : threads_)
            calls += thread->callsMade();
        std::printf("%llu calls on %u threads, %llu of the service, %llu callbacks, %llu messages posted\n",
                    static_cast<unsigned long long>(calls), options_.threads,
                    static_cast<unsigned long long>(service_.calls()),
                    static_cast<unsigned long long>(service_.callbacks()), static_cast<unsigned long long>(messages_));
    }

  private:
    struct Figures {
        ProcessFigures process;
        int64_t blocks;
        uint64_t messages;
    };

    bool isExact() const { return options_.threads == 1; }
    Figures figures() const { return {ProcessFigures::now(), service_.liveBlocks(), messages_}; }

    void pumpMessages() {
        MSG message;
        while (PeekMessageA(&message, window_, 0, 0, PM_REMOVE))
            ++messages_;
    }

    void fail(const std::string &text) {
        const std::lock_guard guard(lock_);
        if (failure_.empty())
            failure_ = text;
    }

    void playRound(uint64_t number) {
        const uint64_t draw = mixed(options_.seed ^ mixed(~number));
        DriverThread::Round round;
        round.isUnbalanced = !isExact() && draw % 8 == 0;
        round.sharesHandles = !isExact() && draw % 2 == 0;
        service_.setHabits({.closeMayBeMissing = isExact() || round.isUnbalanced});
        releases_ = (draw >> 8) % 2 == 0;
        isSure_ = !round.isUnbalanced;
        // A handle that is closed while another thread is inside the service may unload comc.dll under it: that is the
        // library's promise, and a service that means to survive it stays mapped.
        if (round.sharesHandles || round.isUnbalanced)
            service_.pin();
        KalRegisterApp(0);
        std::atomic<unsigned> running = options_.threads;
        std::vector<std::thread> workers;
        for (const auto &thread : threads_)
            workers.emplace_back([&, each = thread.get()] {
                try {
                    each->run(options_.callsOfRound, round);
                    each->tidy(releases_);
                } catch (const std::exception &exception) {
                    fail(exception.what());
                }
                --running;
            });
        waitFor(running);
        for (std::thread &worker : workers)
            worker.join();
    }

    /// Takes messages in meanwhile. A library that stands still is told with what each thread is doing.
    void waitFor(const std::atomic<unsigned> &running) {
        uint64_t before = 0;
        auto since = std::chrono::steady_clock::now();
        while (running > 0) {
            pumpMessages();
            Sleep(5);
            uint64_t made = 0;
            for (const auto &thread : threads_)
                made += thread->callsMade();
            if (made != before) {
                before = made;
                since = std::chrono::steady_clock::now();
            } else if (std::chrono::steady_clock::now() - since > longestStandstill) {
                std::printf("FAILED: nothing goes on\n%s", replayCommand(options_).c_str());
                for (const auto &thread : threads_)
                    std::printf("  %s after %llu calls\n", thread->current(),
                                static_cast<unsigned long long>(thread->callsMade()));
                std::fflush(stdout);
                TerminateProcess(GetCurrentProcess(), 3);
            }
        }
    }

    static bool isMapped() { return GetModuleHandleA("comc.dll") != nullptr; }

    /// With no call under way: what is still open, the last unregistration, and nothing left after it.
    std::string endRegistration(uint64_t number) {
        const std::string round = "end of round " + std::to_string(number) + ": ";
        for (const uint16_t handle : DriverThread::sharedHandles)
            if (isSure_ && DriverThread::closeWholly(handle) >= 1000000)
                return round + "a shared handle never becomes unknown";
        service_.unpin();
        uint32_t opens = 0;
        for (const auto &thread : threads_)
            opens += thread->opens();
        if (isSure_ && !isExact() && isMapped() != (opens > 0))
            return round + std::to_string(opens) + " handles are open and comc.dll is " +
                   (isMapped() ? "loaded" : "not loaded");
        if (service_.held() != (isMapped() ? 1 : 0))
            return round + "comc.dll was loaded and freed " + std::to_string(service_.held()) + " times apart";
        if (const std::string text = unregisterUnderCallbacks(); !text.empty())
            return round + text;
        if (isMapped() || service_.held() != 0)
            return round + "comc.dll is loaded after the last unregistration";
        for (const auto &thread : threads_)
            thread->forgetOpens();
        references_ = {};
        pumpMessages();
        return {};
    }

    std::string unregisterUnderCallbacks() {
        std::atomic<bool> isOver = false;
        std::atomic<uint32_t> strange = 0;
        std::vector<std::thread> threads;
        for (uint64_t number = 0; number < 2; ++number)
            threads.emplace_back([&, number] {
                CallContext context;
                for (uint64_t draw = mixed(options_.seed + number); !isOver; draw = mixed(draw)) {
                    context.begin(draw, true);
                    context.callbackDepth = 1;
                    CallContext::current() = &context;
                    const uint32_t reply = service_.callBack(draw);
                    if (reply != ERROR_SUCCESS && reply != ERROR_INVALID_FUNCTION && reply != ERROR_INVALID_PARAMETER)
                        strange = reply;
                }
                CallContext::current() = nullptr;
            });
        CallContext calm;
        calm.begin(0, true);
        CallContext::current() = &calm;
        KalUnregisterApp(0);
        CallContext::current() = nullptr;
        const bool isUnloaded = !isMapped();
        isOver = true;
        for (std::thread &thread : threads)
            thread.join();
        if (strange != 0)
            return "a callback answered " + std::to_string(strange);
        return isUnloaded ? "" : "the last unregistration left comc.dll loaded";
    }

    std::string leftovers() const {
        const Figures last = figures();
        std::printf("handles of the process %lu -> %lu, blocks of the library %lld -> %lld, memory %llu -> %llu KiB\n",
                    first_.process.handles, last.process.handles, static_cast<long long>(first_.blocks),
                    static_cast<long long>(last.blocks), static_cast<unsigned long long>(first_.process.bytes / 1024),
                    static_cast<unsigned long long>(last.process.bytes / 1024));
        if (service_.strangers() != 0)
            return std::to_string(service_.strangers()) + " calls of the service by threads that nobody waits for";
        // Service threads that were started meanwhile have a handle each, and the library keeps every alert, in two
        // blocks; of three messages one is of an alert.
        constexpr DWORD handlesOfServiceThreads = 4;
        if (last.process.handles > first_.process.handles + (options_.threads + handlesOfServiceThreads) * 4)
            return "handles are left over";
        constexpr int64_t blocksOfMessage = 1, blocksOnce = 50;
        const auto messages = static_cast<int64_t>(last.messages - first_.messages);
        if (last.blocks > first_.blocks + messages * blocksOfMessage + blocksOnce)
            return "memory of the library is left over";
        return {};
    }

    const Options options_;
    HWND window_ = nullptr;
    ScriptedService service_;
    ReferenceModel references_;
    std::vector<std::unique_ptr<DriverThread>> threads_;
    bool releases_ = false;
    bool isSure_ = true;
    uint64_t messages_ = 0;
    Figures first_ = {};
    std::mutex lock_; // failure_ while threads run
    std::string failure_;
};

} // namespace

int main(int argumentCount, char **arguments) {
    Options options;
    options.seed = mixed(GetTickCount64() ^ static_cast<uint64_t>(GetCurrentProcessId()) << 32) % 1000000000;
    CLI::App application("Random calls of kalclient.dll against a service that answers everything");
    application.add_option("--seed", options.seed, "what the sequences derive from; drawn and told when not given");
    application.add_option("--calls", options.calls, "calls in all")->check(CLI::PositiveNumber);
    application.add_option("--threads", options.threads, "threads that call")->check(CLI::Range(1u, 128u));
    application.add_option("--calls-of-round", options.callsOfRound, "calls of a thread between two registrations")
        ->check(CLI::PositiveNumber);
    application.add_flag("--log", options.logs, "with everything logged");
    CLI11_PARSE(application, argumentCount, arguments);
    std::printf("seed %llu\n", static_cast<unsigned long long>(options.seed));
    std::fflush(stdout);

    PrivateMachine machine;
    if (options.logs)
        machine.logEverything();
    RandomDriver driver(options);
    const std::string failure = driver.run();
    driver.tell();
    if (!failure.empty()) {
        std::printf("FAILED: %s\n%s", failure.c_str(), replayCommand(options).c_str());
        return 1;
    }
    std::printf("passed\n");
    return 0;
}
