#pragma once

#include "platform/ScopedHandle.h"

#include <cstdint>
#include <memory>

namespace kal {

class Event;

/// A task. The order of the virtual operations is part of the binary interface.
class Runnable {
  public:
    virtual ~Runnable() = default;
    /// @return the exit code of the thread that ran it
    virtual uint32_t run() = 0;
};

/// A Runnable for a plain function with one untyped argument. Owns neither function nor argument.
class RunnableFunction : public Runnable {
  public:
    using Function = uint32_t(void *);

    RunnableFunction(Function *function, void *argument) noexcept : function_(function), argument_(argument) {}
    uint32_t run() override { return function_(argument_); }

  private:
    Function *function_;
    void *argument_;
};

/// Runs one Runnable on a thread of its own. Its creator starts it once; the destructor waits for the thread to end.
class Thread {
  public:
    static constexpr uint32_t defaultStackSize = 4096;

    /// @param runnable  not owned; must outlive the thread
    explicit Thread(Runnable &runnable) noexcept : runnable_(&runnable) {}
    Thread(const Thread &) = delete;
    Thread &operator=(const Thread &) = delete;
    virtual ~Thread();

    /// Returns when the new thread runs. Throws "Thread::start()" if the thread cannot be created.
    void start();

    /// @param timeoutMilliseconds  0xFFFFFFFF waits indefinitely
    /// @return whether the thread has ended
    [[nodiscard]] bool join(uint32_t timeoutMilliseconds) const noexcept;

    [[nodiscard]] uint32_t threadId() const noexcept { return threadId_; }

  private:
    struct StartRecord {
        Runnable *runnable;
        Event *started;
    };
    static unsigned __stdcall procedure(void *startRecord);
    /// Returns when the thread has ended, even if the system refuses to wait for it. Its objects may then be freed.
    void awaitEnd() const noexcept;

    std::unique_ptr<StartRecord> startRecord_;
    uint32_t stackSize_ = defaultStackSize;
    unsigned threadId_ = 0;
    int32_t priority_ = THREAD_PRIORITY_NORMAL;
    ScopedHandle handle_;
    Runnable *runnable_;
};

} // namespace kal
