// A service for long runs behind the double of comc.dll: what it answers to a call of an export is drawn from that
// call's own seed, so it depends neither on other threads nor on time. It keeps nothing and holds no lock while it
// answers.
#pragma once

#include "comc/comc.h"
#include "tests/endurance/LiveBlocks.h"
#include "tests/support/ImportHook.h"
#include "tests/support/ServiceHost.h"

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace kal::test {

/// Spreads a number over all 64 bits.
constexpr uint64_t mixed(uint64_t number) {
    number += 0x9E3779B97F4A7C15;
    number = (number ^ (number >> 30)) * 0xBF58476D1CE4E5B9;
    number = (number ^ (number >> 27)) * 0x94D049BB133111EB;
    return number ^ (number >> 31);
}

/// One entry point that was asked for: missing, or called and answered.
struct ServiceEvent {
    EntryPoint entryPoint;
    bool isMissing;
    uint32_t code;     ///< 127 when missing
    uint32_t clientId; ///< as it was passed
    uint32_t told;     ///< what a successful answer told: state, handle, length, number of the text
};

/// What one call of an export meets at the service. Used by one thread at a time: the caller's, its worker's, or one
/// that calls back while they wait.
struct CallContext {
    uint64_t seed = 0;
    bool isCalm = false;       ///< every answer is a success, nothing is missing or slow
    int callbackDepth = 0;     ///< events of alert callbacks in the middle are not the export's
    int pauses = 0;            ///< back-offs of 2000 ms that the library took
    uint32_t strangeReply = 0; ///< of an alert callback: none of its documented codes
    std::vector<ServiceEvent> events;
    std::array<uint8_t, static_cast<size_t>(EntryPoint::count)> lookups{};
    std::array<uint8_t, static_cast<size_t>(EntryPoint::count)> calls{};

    void begin(uint64_t newSeed, bool calm);
    static CallContext *&current(); ///< of this thread
};

/// The transport names that the service tells, and the port type each stands for.
struct TransportName {
    const char *text;
    uint32_t portType;
};
inline constexpr TransportName transportNames[] = {{"USB1", 1024}, {"IPv4", 2},    {"HBN1", 512}, {"HBN3", 512},
                                                   {"PAR1", 2048}, {"usb1", 1024}, {"Other", 0}};

/// Threads of the service's own that call the application back while a call waits in the service: as many as are needed
/// at once, so that none waits for another.
class ServiceThreads {
  public:
    ServiceThreads() = default;
    ~ServiceThreads();
    ServiceThreads(const ServiceThreads &) = delete;
    ServiceThreads &operator=(const ServiceThreads &) = delete;

    /// Runs the work on a thread of the service, with the caller's context, and waits for its end.
    void runAndWait(const std::function<void()> &work);

  private:
    struct Task {
        const std::function<void()> *work;
        CallContext *context;
        bool isDone;
    };
    void serve();

    std::mutex lock_; // the members below, and isDone of each task
    std::condition_variable changed_;
    std::vector<Task *> tasks_;
    size_t idle_ = 0;
    bool isEnding_ = false;
    std::vector<std::thread> threads_;
};

/// One at a time; lives while the library under test may call.
class ScriptedService {
  public:
    struct Habits {
        bool closeMayBeMissing = false; ///< unbalances the library's references, by design
    };

    ScriptedService();
    ~ScriptedService();
    ScriptedService(const ScriptedService &) = delete;
    ScriptedService &operator=(const ScriptedService &) = delete;

    /// Only while nothing calls.
    void setHabits(Habits habits) { habits_ = habits; }

    /// Keeps comc.dll mapped although the library gives it up: a call may then be inside while another one unloads.
    void pin();
    void unpin();

    /// Loads of comc.dll that the library has not given back.
    int held() const { return held_; }
    uint64_t calls() const { return calls_; }
    uint64_t callbacks() const { return callbacks_; }
    uint64_t strangers() const { return strangers_; }
    /// Blocks that the library has allocated and not freed.
    int64_t liveBlocks() const { return blocks_.count(); }

    /// What alert and notification callbacks do to the application, drawn from the number; on the calling thread.
    uint32_t callBack(uint64_t draw);

  private:
    static void attached(HMODULE) {}
    static void detached(HMODULE) {}
    static uint32_t called(EntryPoint entryPoint, const uint64_t *arguments);

    bool mayBeMissing(EntryPoint entryPoint) const;
    uint32_t answer(EntryPoint entryPoint, const uint64_t *arguments, CallContext &context);
    uint32_t fulfil(EntryPoint entryPoint, const uint64_t *arguments, CallContext &context, uint64_t draw);
    FARPROC lookUp(HMODULE module, LPCSTR name);

    static const ServiceHost host;
    static ScriptedService *instance;

    Habits habits_;
    HMODULE pinned_ = nullptr;
    std::atomic<int> held_ = 0;
    std::atomic<uint64_t> calls_ = 0;
    std::atomic<uint64_t> callbacks_ = 0;
    std::atomic<uint64_t> strangers_ = 0;
    std::atomic<uint32_t> clientIds_ = 0;
    std::atomic<OrxAlertCallback> alertCallback_ = nullptr;
    std::atomic<OrxNotificationCallback> notificationCallback_ = nullptr;
    ServiceThreads threads_;

    using ThreadStart = unsigned(__stdcall *)(void *);
    ImportHook<"GetProcAddress", FARPROC(HMODULE, LPCSTR)> getProcAddress_;
    ImportHook<"LoadLibraryA", HMODULE(LPCSTR)> loadLibrary_;
    ImportHook<"FreeLibrary", BOOL(HMODULE)> freeLibrary_;
    ImportHook<"Sleep", void(DWORD)> sleep_;
    ImportHook<"_beginthreadex", uintptr_t(void *, unsigned, ThreadStart, void *, unsigned, unsigned *)> beginThread_;
    LiveBlocks blocks_;
};

} // namespace kal::test
