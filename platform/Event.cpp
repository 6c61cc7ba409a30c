#include "platform/Event.h"

#include "platform/Exception.h"
#include "platform/SecurityEveryone.h"

namespace kal {

namespace {

enum ThrowSite : uint32_t { setFailed = 70, waitFailed = 145 };

} // namespace

Event::Event(bool manualReset, bool initialState, const std::string &name, bool everyoneAccess) : name_(name) {
    if (everyoneAccess) {
        SecurityEveryone everyone(false);
        handle_ = ScopedHandle(createEvent(everyone.securityAttributes(), manualReset, initialState, name));
    } else {
        handle_ = ScopedHandle(createEvent(nullptr, manualReset, initialState, name));
    }
}

HANDLE Event::createEvent(SECURITY_ATTRIBUTES *securityAttributes, bool manualReset, bool initialState,
                          const std::string &name) {
    const HANDLE handle = CreateEventA(securityAttributes, manualReset ? TRUE : FALSE, initialState ? TRUE : FALSE,
                                       name.empty() ? nullptr : name.c_str());
    if (handle == nullptr) {
        throwLastError("Event::createEvent() failed", "", 0);
    }
    return handle;
}

void Event::set() {
    if (!SetEvent(handle_.get())) {
        lastError_ = GetLastError();
        throw Win32Exception("Event::set() failed", lastError_, ".\\Event", setFailed);
    }
}

bool Event::wait(uint32_t timeoutMilliseconds) {
    switch (WaitForSingleObject(handle_.get(), timeoutMilliseconds)) {
    case WAIT_OBJECT_0:
        return !cancelled_.exchange(false);
    case WAIT_FAILED:
        throwLastError("Event::wait() failed", ".\\Event", waitFailed);
    default:
        return false;
    }
}

} // namespace kal
