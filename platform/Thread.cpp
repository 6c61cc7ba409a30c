#include "platform/Thread.h"

#include "platform/Event.h"
#include "platform/Exception.h"
#include "platform/Mutex.h"

#include <process.h>

namespace kal {

unsigned __stdcall Thread::procedure(void *startRecord) {
    const auto &record = *static_cast<StartRecord *>(startRecord);
    Runnable &runnable = *record.runnable; // before the signal, after which start() may close the event
    record.started->set();
    return runnable.run();
}

void Thread::start() {
    Event started(true, false, "", false);
    startRecord_ = std::make_unique<StartRecord>(StartRecord{runnable_, &started});
    const uintptr_t created =
        _beginthreadex(nullptr, stackSize_, &Thread::procedure, startRecord_.get(), 0, &threadId_);
    // Only all ones is a failure; a null handle is deliberately not checked.
    if (created == static_cast<uintptr_t>(-1)) {
        throwLastError("Thread::start()", ".\\Thread", __LINE__);
    }
    handle_ = ScopedHandle(reinterpret_cast<HANDLE>(created));
    SetThreadPriority(handle_.get(), priority_);
    try {
        static_cast<void>(started.wait(waitWithoutTimeout));
    } catch (const Win32Exception &) {
        awaitEnd(); // the thread may still signal the event, which this block destroys
        throw;
    }
}

bool Thread::join(uint32_t timeoutMilliseconds) const noexcept {
    const DWORD result = WaitForSingleObject(handle_.get(), timeoutMilliseconds);
    return result == WAIT_OBJECT_0 || result == WAIT_ABANDONED;
}

void Thread::awaitEnd() const noexcept {
    if (join(waitWithoutTimeout)) {
        return;
    }
    DWORD exitCode = 0;
    while (GetExitCodeThread(handle_.get(), &exitCode) && exitCode == STILL_ACTIVE) {
        Sleep(1);
    }
}

Thread::~Thread() {
    if (handle_.isOpen()) {
        awaitEnd();
    }
}

} // namespace kal
