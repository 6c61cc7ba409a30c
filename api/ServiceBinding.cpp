#include "api/ServiceBinding.h"

#include "api/CallFrame.h"
#include "api/Library.h"
#include "logging/Logger.h"
#include "service/OrxClient.h"

#include <atomic>
#include <new>

namespace kal {

namespace {

std::atomic<OrxClient *> orxClient = nullptr;
std::atomic<bool> registrationRefused = false;

std::atomic<uint32_t> callbacksInside = 0;
std::atomic<bool> callbacksLockedOut = false;

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

CallbackLockout::CallbackLockout() noexcept {
    callbacksLockedOut = true;
    while (callbacksInside != 0) {
        Sleep(1);
    }
}

CallbackLockout::~CallbackLockout() {
    callbacksLockedOut = false;
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
