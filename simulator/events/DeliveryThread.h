#pragma once

#include "simulator/Handle.h"
#include "simulator/events/EventJournal.h"
#include "simulator/events/Listeners.h"

#include <memory>

namespace simulator {

/// Delivers events when they are due, in the order in which they are due. The thread keeps this library mapped until
/// it ends, so the library may be given up while a client still works in a callback.
class DeliveryThread {
  public:
    /// @param journal  what other processes tell is delivered too; may be null.
    explicit DeliveryThread(std::shared_ptr<Listeners> listeners, std::shared_ptr<EventJournal> journal = nullptr);
    ~DeliveryThread() { stop(); }
    DeliveryThread(const DeliveryThread &) = delete;
    DeliveryThread &operator=(const DeliveryThread &) = delete;

    /// Starts the thread when it does not run yet, for the journal's sake.
    void start();

    /// Starts the thread when it does not run yet. Events that are due together keep the order of their posting.
    void post(PrinterEvent event, uint32_t afterMs, uint32_t count = 1, uint32_t intervalMs = 0);

    /// Drops what is not delivered yet and waits for the thread to end, but not for a callback that it is in: the
    /// client may be stopping us with a lock held that its callback waits for.
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
