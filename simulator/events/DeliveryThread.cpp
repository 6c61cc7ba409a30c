#include "simulator/events/DeliveryThread.h"

#include "simulator/printers/PrinterStore.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <vector>

namespace simulator {

namespace {

struct Scheduled {
    PrinterEvent event;
    uint64_t dueMs = 0;
    uint64_t order = 0;
    uint32_t count = 1;
    uint32_t intervalMs = 0;
};

constexpr DWORD journalIntervalMs = 50;
constexpr DWORD intervalWithoutEventMs = 10;
constexpr uint64_t longestJournalDelayMs = uint64_t{24} * 60 * 60 * 1000; // limits what a wrong clock or line can cause

/// The system's tick count is too coarse: its steps are as long as the intervals of a fast burst.
uint64_t steadyMs() noexcept {
    using namespace std::chrono;
    return static_cast<uint64_t>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

bool comesLater(const Scheduled &left, const Scheduled &right) noexcept {
    return left.dueMs != right.dueMs ? left.dueMs > right.dueMs : left.order > right.order;
}

HMODULE referenceThisModule() noexcept {
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<LPCWSTR>(&referenceThisModule),
                       &module);
    return module;
}

} // namespace

struct DeliveryThread::State {
    State(std::shared_ptr<Listeners> who, std::shared_ptr<EventJournal> source)
        : listeners(std::move(who)), journal(std::move(source)), wake(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {}

    const std::shared_ptr<Listeners> listeners;
    const std::shared_ptr<EventJournal> journal;
    const Handle wake;
    std::atomic<bool> isStopping{false};
    std::atomic<bool> isInCallback{false};
    std::atomic<DWORD> threadId{0};

    Lock lock; // guards the rest
    std::vector<Scheduled> queue;
    uint64_t posted = 0;

    void push(Scheduled item) {
        const std::lock_guard hold(lock);
        item.order = posted++;
        queue.push_back(std::move(item));
        std::push_heap(queue.begin(), queue.end(), comesLater);
    }

    void sleep(DWORD milliseconds) const noexcept {
        if (WaitForSingleObject(wake.get(), milliseconds) == WAIT_FAILED) {
            Sleep(std::min(milliseconds, intervalWithoutEventMs)); // the event could not be created
        }
    }

    void takeFromJournal() {
        for (auto &line : journal->takeNew()) {
            const auto now = systemTimeMs();
            const auto afterMs = line.dueMs > now ? std::min<uint64_t>(line.dueMs - now, longestJournalDelayMs) : 0;
            push({std::move(line.event), steadyMs() + afterMs, 0, 1, 0});
        }
    }

    /// Removes and returns the next event if it is due; otherwise sets the time to wait.
    std::optional<Scheduled> popDue(DWORD &waitMs) {
        const std::lock_guard hold(lock);
        if (queue.empty()) {
            waitMs = INFINITE;
            return std::nullopt;
        }
        const auto now = steadyMs();
        if (queue.front().dueMs > now) {
            waitMs = static_cast<DWORD>(std::min<uint64_t>(queue.front().dueMs - now, 60000));
            return std::nullopt;
        }
        std::pop_heap(queue.begin(), queue.end(), comesLater);
        auto item = std::move(queue.back());
        queue.pop_back();
        return item;
    }
};

DeliveryThread::DeliveryThread(std::shared_ptr<Listeners> listeners, std::shared_ptr<EventJournal> journal)
    : state_(std::make_shared<State>(std::move(listeners), std::move(journal))) {}

void DeliveryThread::post(PrinterEvent event, uint32_t afterMs, uint32_t count, uint32_t intervalMs) {
    if (count == 0) {
        return;
    }
    state_->push({std::move(event), steadyMs() + afterMs, 0, count, intervalMs});
    start();
    SetEvent(state_->wake.get());
}

void DeliveryThread::start() {
    const std::lock_guard hold(startLock_);
    if (!thread_ && !state_->isStopping) {
        auto *const module = referenceThisModule();
        auto argument = std::make_unique<std::shared_ptr<State>>(state_);
        thread_ = Handle(CreateThread(nullptr, 0, &DeliveryThread::run, argument.get(), 0, nullptr));
        if (thread_) {
            static_cast<void>(argument.release()); // the thread deletes it
        } else {
            FreeLibrary(module);
        }
    }
}

void DeliveryThread::stop() noexcept {
    state_->isStopping = true;
    SetEvent(state_->wake.get());
    const std::lock_guard hold(startLock_);
    if (!thread_ || state_->threadId == GetCurrentThreadId()) {
        return;
    }
    constexpr int attempts = 200;
    for (int attempt = 0; attempt < attempts && !state_->isInCallback; ++attempt) {
        if (WaitForSingleObject(thread_.get(), 5) == WAIT_OBJECT_0) {
            return;
        }
    }
}

DWORD WINAPI DeliveryThread::run(void *argument) {
    {
        const std::unique_ptr<std::shared_ptr<State>> owned(static_cast<std::shared_ptr<State> *>(argument));
        const auto state = *owned;
        state->threadId = GetCurrentThreadId();
        work(*state);
    }
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&DeliveryThread::run), &module);
    FreeLibraryAndExitThread(module, 0); // releases the reference that start() took
}

void DeliveryThread::work(State &state) {
    while (!state.isStopping) {
        DWORD waitMs = INFINITE;
        auto due = state.popDue(waitMs);
        if (!due) {
            state.sleep(state.journal ? std::min(waitMs, journalIntervalMs) : waitMs);
            if (state.journal) {
                state.takeFromJournal();
            }
            continue;
        }
        state.isInCallback = true;
        if (!state.isStopping) {
            try {
                state.listeners->deliver(due->event);
            } catch (const std::exception &) {
                // There was no memory to copy the alert, so it is lost. Busy devices lose alerts as well.
            }
        }
        state.isInCallback = false;
        if (--due->count > 0) {
            due->dueMs += due->intervalMs;
            try {
                state.push(std::move(*due));
            } catch (const std::bad_alloc &) {
                // There was no memory; the rest of the burst is lost.
            }
        }
    }
}

} // namespace simulator
