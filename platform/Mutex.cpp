#include "platform/Mutex.h"

#include "platform/Exception.h"
#include "platform/SecurityEveryone.h"

namespace kal {

namespace {

enum ThrowSite : uint32_t { releaseFailed = 70, waitFailed = 103, createFailed = 120 };

} // namespace

Mutex::Mutex(bool initialOwner, const std::string &name, bool everyoneAccess) : name_(name) {
    if (everyoneAccess) {
        SecurityEveryone everyone(false);
        handle_ = ScopedHandle(createMutex(everyone.securityAttributes(), initialOwner, name));
    } else {
        handle_ = ScopedHandle(createMutex(nullptr, initialOwner, name));
    }
}

HANDLE Mutex::createMutex(SECURITY_ATTRIBUTES *securityAttributes, bool initialOwner, const std::string &name) {
    const HANDLE handle =
        CreateMutexA(securityAttributes, initialOwner ? TRUE : FALSE, name.empty() ? nullptr : name.c_str());
    if (handle == nullptr) {
        throwLastError("Mutex::createMutex() CreateMutex failed", ".\\Mutex", createFailed);
    }
    if (initialOwner) {
        countHold();
    }
    return handle;
}

void Mutex::countHold() noexcept {
    ownerThread_.store(GetCurrentThreadId(), std::memory_order_relaxed);
    ++holdCount_;
}

bool Mutex::acquire(uint32_t timeoutMilliseconds) {
    if (timeoutMilliseconds == 0) {
        return false;
    }
    switch (WaitForSingleObject(handle_.get(), timeoutMilliseconds)) {
    case WAIT_OBJECT_0:
    case WAIT_ABANDONED:
        countHold();
        return true;
    case WAIT_TIMEOUT:
        return false;
    default:
        throwLastError("Mutex::acquire() WaitForSingleObject failed", ".\\Mutex", waitFailed);
    }
}

void Mutex::release() {
    if (ownerThread_.load(std::memory_order_relaxed) != GetCurrentThreadId()) {
        return;
    }
    // Uses a copy: after the last ReleaseMutex the count belongs to the next owner.
    for (uint32_t held = holdCount_; held != 0; --held) {
        --holdCount_;
        if (!ReleaseMutex(handle_.get())) {
            throwLastError("Mutex::release() ReleaseMutex failed", ".\\Mutex", releaseFailed);
        }
    }
}

ScopedMutex::~ScopedMutex() {
    try {
        mutex_.release();
    } catch (const Win32Exception &) {
        // This fails only for a broken handle; no other thread can be waiting for it.
    }
}

} // namespace kal
