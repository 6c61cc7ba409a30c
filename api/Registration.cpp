#include "api/CallFrame.h"
#include "api/Library.h"
#include "api/ServiceBinding.h"
#include "api/kal.h"
#include "logging/Logger.h"
#include "platform/CriticalSection.h"
#include "service/OrxClient.h"

#include <atomic>
#include <cstring>
#include <mutex>
#include <new>

namespace kal {

namespace {

CriticalSection registrationLock; ///< guards initializeCount, clientName, and making and destroying binding and logger
uint32_t initializeCount = 0;
constexpr size_t clientNameSize = 260;
char clientName[clientNameSize];

std::atomic<OrxClient *> orxClient = nullptr;
std::atomic<bool> registrationRefused = false;

std::atomic<uint32_t> callbacksInside = 0;
std::atomic<bool> callbacksLockedOut = false;

template <class... Pieces>
void logRegistration(const Pieces &...pieces) noexcept {
    logMessage(legacyClient(), logLevel::registration, pieces...);
}

/// Under the registration lock, while the count is 0. A Win32Exception is logged under the message, if there is one,
/// and leaves everything as it was. @return whether both were made
bool makeLoggerAndBinding(const char *serverName, const char *exceptionMessage) {
    try {
        Logger::createInstance();
        orxClient = new OrxClient(libraryModule(), serverName, false); // the process's until the last unregistration
        return true;
    } catch (const Win32Exception &exception) {
        if (exceptionMessage != nullptr) {
            logError(exceptionMessage, exception.code()); // needs the logger: before it goes
        }
        Logger::destroyInstance();
        return false;
    } catch (const std::bad_alloc &) {
        Logger::destroyInstance();
        throw;
    }
}

void destroyBinding() noexcept {
    delete orxClient.load();
    orxClient = nullptr;
}

/// Under the registration lock. Counts a registration that succeeded.
uint32_t countRegistration() noexcept {
    registrationRefused = false;
    return ++initializeCount;
}

/// Closes the library to callbacks and waits for those that are inside. They are short: they ask the service for a
/// property and post a message.
class CallbackLockout {
  public:
    CallbackLockout() noexcept {
        callbacksLockedOut = true;
        while (callbacksInside != 0) {
            Sleep(1);
        }
    }
    CallbackLockout(const CallbackLockout &) = delete;
    CallbackLockout &operator=(const CallbackLockout &) = delete;
    ~CallbackLockout() { callbacksLockedOut = false; }
};

} // namespace

OrxClient *serviceBinding() noexcept {
    return orxClient.load(std::memory_order_acquire);
}

bool isRegistrationRefused() noexcept {
    return registrationRefused.load(std::memory_order_relaxed);
}

CallbackEntry::CallbackEntry() noexcept {
    ++callbacksInside;
    isLockedOut_ = callbacksLockedOut;
    if (isLockedOut_) {
        --callbacksInside; // not one to wait for, or a steady stream would never let the lockout end
    }
    client_ = isLockedOut_ ? nullptr : orxClient.load();
}

CallbackEntry::~CallbackEntry() {
    if (!isLockedOut_) {
        --callbacksInside;
    }
}

} // namespace kal

using namespace kal;

extern "C" {

uint16_t KalRegisterApp(uint16_t) {
    uint32_t count = 0;
    {
        const std::lock_guard guard(registrationLock);
        if (initializeCount == 0 && !makeLoggerAndBinding("", "KalRegisterApp() throw exception, error=")) {
            return 1; // deliberately a success: nothing is registered, and the exports will say so
        }
        count = countRegistration();
    }
    logRegistration("KalRegisterApp() initializeCount=", count);
    return 1;
}

int32_t KalRegisterWithRpcServer(const char *serverName) {
    const char *const name = serverName == nullptr ? "" : serverName;
    uint32_t count = 0;
    {
        const std::lock_guard guard(registrationLock);
        if (initializeCount == 0) {
            if (!makeLoggerAndBinding(name, nullptr)) {
                registrationRefused = true;
                return KAL_REGISTRATION_REFUSED;
            }
            const uint32_t code = serviceBinding()->checkServer();
            if (code != 0) {
                destroyBinding();
                logRegistration("KalRegisterWithRpcServer(", name, ") pingServer() failed, rc=", code);
                Logger::destroyInstance();
                registrationRefused = true;
                return KAL_REGISTRATION_REFUSED;
            }
        }
        count = countRegistration();
    }
    logRegistration("KalRegisterWithRpcServer(", name, ") initializeCount=", count);
    return 1;
}

void KalUnregisterApp(uint16_t) {
    const std::lock_guard guard(registrationLock);
    --initializeCount; // below 0 it wraps, deliberately unguarded
    logRegistration("KalUnregisterApp() initializeCount=", initializeCount);
    if (initializeCount == 0) {
        const CallbackLockout lockout;
        Logger::destroyInstance();
        destroyBinding();
    }
}

void KalSetClientName(const char *name) {
    logRegistration("KalSetClientName was called");
    if (name != nullptr) {
        const std::lock_guard guard(registrationLock);
        std::memcpy(clientName, name, strnlen(name, clientNameSize));
    }
}

} // extern "C"
