#include "api/CallFrame.h"
#include "api/ServiceBinding.h"
#include "api/kal.h"
#include "logging/LogMessage.h"
#include "platform/CriticalSection.h"
#include "service/OrxClient.h"

#include <cstring>
#include <mutex>

namespace kal {

namespace {

CriticalSection registrationLock; ///< guards initializeCount, and making and destroying binding and logger
uint32_t initializeCount = 0;
CriticalSection clientNameLock; ///< guards clientName; not registrationLock, which is held during network calls
constexpr size_t clientNameSize = 260;
char clientName[clientNameSize];

template <class... Pieces>
void logRegistration(const Pieces &...pieces) noexcept {
    logMessage(legacyClient(), logLevel::registration, pieces...);
}

/// Counts a successful registration. The caller must hold the registration lock.
uint32_t countRegistration() noexcept {
    admitCallbacks();
    refuseRegistration(false);
    return ++initializeCount;
}

} // namespace

} // namespace kal

using namespace kal;

extern "C" {

uint16_t KalRegisterApp(uint16_t) {
    uint32_t count = 0;
    {
        const std::lock_guard guard(registrationLock);
        if (initializeCount == 0 && !makeLoggerAndBinding("", "KalRegisterApp() throw exception, error=")) {
            return 1; // deliberately a success: nothing is registered, and the other exports report it
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
                refuseRegistration(true);
                return KAL_REGISTRATION_REFUSED;
            }
            const uint32_t code = serviceBinding()->checkServer();
            if (code != 0) {
                const CallbackLockout lockout;
                lockout.endBinding();
                logRegistration("KalRegisterWithRpcServer(", name, ") pingServer() failed, rc=", code);
                lockout.endLogger();
                refuseRegistration(true);
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
    --initializeCount; // deliberately unchecked, so it may wrap
    logRegistration("KalUnregisterApp() initializeCount=", initializeCount);
    if (initializeCount == 0) {
        const CallbackLockout lockout;
        lockout.endLogger();
        lockout.endBinding();
    }
}

void KalSetClientName(const char *name) {
    logRegistration("KalSetClientName was called");
    if (name != nullptr) {
        const std::lock_guard guard(clientNameLock);
        std::memcpy(clientName, name, strnlen(name, clientNameSize));
    }
}

} // extern "C"
