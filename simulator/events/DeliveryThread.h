#pragma once

#include "simulator/Handle.h"
#include "simulator/events/EventJournal.h"
#include "simulator/events/Listeners.h"

#include <memory>

namespace simulator {

/// Delivers events at their due times, on a thread of its own. The thread keeps this library mapped until it ends, so
/// that a client may free the library while a callback runs.
class DeliveryThread {
  public:
    /// @param journal  also delivers the events of other processes; may be null.
    explicit DeliveryThread(std::shared_ptr<Listeners> listeners, std::shared_ptr<EventJournal> journal = nullptr);
    ~DeliveryThread() { stop(); }
    DeliveryThread(const DeliveryThread &) = delete;
    DeliveryThread &operator=(const DeliveryThread &) = delete;

    /// Starts the thread unless it runs, so that it reads the journal.
    void start();

    /// Starts the thread unless it runs. Events that are due at the same time keep their order.
    void post(PrinterEvent event, uint32_t afterMs, uint32_t count = 1, uint32_t intervalMs = 0);

    /// Drops pending events and waits up to a second for the thread to end. It does not wait for a running callback:
    /// the client may hold a lock that the callback waits for.
    void stop() noexcept;

  private:
    struct State;

    static DWORD WINAPI run(void *argument);
    static void work(State &state);

    std::shared_ptr<State> state_;
    Lock startLock_; // guards thread_
    Handle thread_;
};

} // namespace simulator
