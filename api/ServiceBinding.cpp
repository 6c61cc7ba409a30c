#include "api/ServiceBinding.h"

#include "api/CallFrame.h"
#include "api/Library.h"
#include "logging/Logger.h"
#include "platform/EntryPoint.h"
#include "service/OrxClient.h"

#include <atomic>
#include <new>

namespace kal {

namespace {

std::atomic<OrxClient *> orxClient = nullptr; ///< for exports; deliberately set before a server is checked
std::atomic<bool> registrationRefused = false;
CallbackGate callbackGate;

constexpr uint32_t callbackPatienceMilliseconds = 5000;

// GCC 12 takes the constant address of the block for an array without elements (GCC bug 99578).
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Warray-bounds"
#endif
/// The address of the thread's environment block: unique among living threads, and read without a call.
uintptr_t thisThread() noexcept {
    return reinterpret_cast<uintptr_t>(NtCurrentTeb());
}
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

/// Whether the process is exiting, so that its other threads were terminated.
bool isProcessEnding() noexcept {
    auto *const isEnding = entryPoint<BOOLEAN WINAPI()>(GetModuleHandleA("ntdll.dll"), "RtlDllShutdownInProgress");
    return isEnding != nullptr && isEnding() != FALSE;
}

/// Waits for the callbacks that are inside the library. @return whether all have left
bool waitForCallbacks() noexcept {
    if (callbackGate.isEmpty()) {
        return true;
    }
    if (callbackGate.holds(thisThread()) || isProcessEnding()) {
        return false;
    }
    const uint32_t start = GetTickCount();
    while (!callbackGate.isEmpty()) {
        if (GetTickCount() - start >= callbackPatienceMilliseconds) {
            return false;
        }
        Sleep(1);
    }
    return true;
}

/// Pins this library, because a callback that is still inside will return to its code.
void keepLibraryLoaded() noexcept {
    HMODULE library = nullptr;
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<const char *>(libraryModule()), &library);
}

} // namespace

OrxClient *serviceBinding() noexcept {
    return orxClient.load(std::memory_order_acquire);
}

bool isRegistrationRefused() noexcept {
    return registrationRefused.load(std::memory_order_relaxed);
}

void refuseRegistration(bool isRefused) noexcept {
    registrationRefused = isRefused;
}

bool makeLoggerAndBinding(const char *serverName, const char *exceptionMessage) {
    try {
        Logger::createInstance();
        callbackGate.open();
        orxClient = new OrxClient(libraryModule(), serverName, false); // until the last unregistration
        return true;
    } catch (const Win32Exception &exception) {
        if (exceptionMessage != nullptr) {
            logError(exceptionMessage, exception.code()); // before the logger is destroyed
        }
        CallbackLockout().endLogger();
        return false;
    } catch (const std::bad_alloc &) {
        CallbackLockout().endLogger();
        throw;
    }
}

void admitCallbacks() noexcept {
    callbackGate.admit(orxClient);
}

CallbackLockout::CallbackLockout() noexcept {
    callbackGate.close();
    isEmpty_ = waitForCallbacks() || !callbackGate.abandon();
    isLoggerUnused_ = !callbackGate.hasAbandoned();
    if (!isEmpty_) {
        keepLibraryLoaded();
    }
}

void CallbackLockout::endLogger() const noexcept {
    // An abandoned callback uses the current logger, even that of a later registration.
    if (isLoggerUnused_) {
        Logger::destroyInstance();
    } else {
        Logger::keepInstance();
    }
}

void CallbackLockout::endBinding() const noexcept {
    OrxClient *const client = orxClient.exchange(nullptr);
    if (isEmpty_) {
        delete client; // otherwise deliberately leaked: the callback that is inside uses it
    }
}

CallbackEntry::CallbackEntry() noexcept : visit_(callbackGate.enter(thisThread())) {}

CallbackEntry::~CallbackEntry() {
    if (visit_.place != nullptr) {
        CallbackGate::leave(*visit_.place);
    }
}

} // namespace kal
