#include "platform/InterProcessLock.h"

#include "platform/Exception.h"

#include <exception>

namespace kal {

namespace {

enum ThrowSite : uint32_t { withoutName = 16 };

} // namespace

InterProcessLock::InterProcessLock(Mutex &mutex) : mutex_(mutex) {
    if (mutex.name().empty()) {
        throw Win32Exception("InterProcessLock has no name", 0, ".\\InterProcessLock", withoutName);
    }
    static_cast<void>(mutex.acquire(waitWithoutTimeout));
}

InterProcessLock::~InterProcessLock() noexcept(false) {
    try {
        mutex_.release();
    } catch (const Win32Exception &) {
        if (std::uncaught_exceptions() == 0) {
            throw; // cppcheck-suppress exceptThrowInDestructor // declared so
        }
    }
}

} // namespace kal
