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

std::atomic<OrxClient *> orxClient = nullptr; ///< for exports; set before a server is asked, by agreement
std::atomic<bool> registrationRefused = false;
CallbackGate callbackGate;

constexpr uint32_t callbackPatienceMilliseconds = 5000;

// GCC 12 takes the block's constant address for an array without elements (its bug 99578).
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Warray-bounds"
#endif
/// The thread's environment block: no other living thread has it, and reading its address calls nothing.
uintptr_t thisThread() noexcept {
    return reinterpret_cast<uintptr_t>(NtCurrentTeb());
}
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

/// Whether the other threads of the process are gone.
bool isProcessEnding() noexcept {
    auto *const isEnding = entryPoint<BOOLEAN WINAPI()>(GetModuleHandleA("ntdll.dll"), "RtlDllShutdownInProgress");
    return isEnding != nullptr && isEnding() != FALSE;
}

/// Waits for the callbacks that are inside. @return whether all have left
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

/// A callback that is still inside returns into this library.
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
        orxClient = new OrxClient(libraryModule(), serverName, false); // the process's until the last unregistration
        return true;
    } catch (const Win32Exception &exception) {
        if (exceptionMessage != nullptr) {
            logError(exceptionMessage, exception.code()); // needs the logger: before it goes
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
    // An abandoned callback logs with whatever logger there is, that of a later registration too.
    if (isLoggerUnused_) {
        Logger::destroyInstance();
    } else {
        Logger::keepInstance();
    }
}

void CallbackLockout::endBinding() const noexcept {
    OrxClient *const client = orxClient.exchange(nullptr);
    if (isEmpty_) {
        delete client; // else deliberately never: the callback that is inside uses it
    }
}

CallbackEntry::CallbackEntry() noexcept : visit_(callbackGate.enter(thisThread())) {}

CallbackEntry::~CallbackEntry() {
    if (visit_.place != nullptr) {
        CallbackGate::leave(*visit_.place);
    }
}

} // namespace kal
