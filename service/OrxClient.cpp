#include "service/OrxClient.h"

#include "service/CallPatterns.h"
#include "service/ServerCheck.h"

#include <mutex>

/// An entry point with the type of its prototype.
#define ENTRY(name) ServiceFunction<decltype(name)>(#name)

namespace kal {

namespace {

/// comc.dll in the module's folder. If that folder is unknown, the bare name, which the system searches.
std::string libraryPathBeside(HMODULE module) {
    char buffer[261] = {};
    std::string directory;
    if (GetModuleFileNameA(module, buffer, sizeof buffer) != 0) {
        const std::string fileName(buffer, strnlen(buffer, sizeof buffer));
        directory = fileName.substr(0, fileName.rfind('\\') + 1); // npos + 1 is 0: no directory
    }
    return directory + "comc.dll";
}

/// The last error; if that is 0, the code for a missing module.
uint32_t failureCode() noexcept {
    const DWORD code = GetLastError();
    return code == ERROR_SUCCESS ? ERROR_MOD_NOT_FOUND : code;
}

} // namespace

OrxClient::OrxClient(HMODULE libraryModule, const char *serverName, bool keepLoaded)
    : serverName_(serverName == nullptr ? "" : serverName), libraryPath_(libraryPathBeside(libraryModule)),
      keepLoaded_(keepLoaded) {}

OrxClient::~OrxClient() {
    const std::lock_guard guard(loadLock_);
    if (module_.countsAsLoaded()) {
        unloadNow();
    }
}

uint32_t OrxClient::loadService() {
    const std::lock_guard guard(loadLock_);
    // A module that was freed after a failed OrxInitialize deliberately counts as loaded: this call increases the count
    // and returns 0 without loading. After the matching unload, comc.dll can be loaded again.
    if (loadCount_ != 0 || module_.countsAsLoaded()) {
        ++loadCount_;
        return ERROR_SUCCESS;
    }
    const HMODULE loaded = module_.load(libraryPath_.c_str());
    if (loaded == nullptr) {
        return failureCode();
    }
    auto *const initialize = module_.find(ENTRY(OrxInitialize));
    if (initialize != nullptr && initialize() == ERROR_SUCCESS) {
        ++loadCount_;
        return ERROR_SUCCESS;
    }
    const uint32_t code = failureCode();
    module_.freeButCountAsLoaded(loaded);
    return code;
}

uint32_t OrxClient::unloadService() {
    const std::lock_guard guard(loadLock_);
    if (loadCount_ != 0) {
        --loadCount_;
    }
    if (loadCount_ == 0 && module_.countsAsLoaded() && !keepLoaded_) {
        unloadNow();
    }
    return ERROR_SUCCESS;
}

/// The caller must hold the load lock.
void OrxClient::unloadNow() {
    if (auto *const uninitialize = module_.find(ENTRY(OrxUninitialize))) {
        uninitialize();
    }
    module_.unload();
    loadCount_ = 0;
}

uint32_t OrxClient::acquireClientId() {
    const std::lock_guard guard(clientIdLock_);
    if (const uint32_t code = checkServerByName(serverName_)) {
        return code;
    }
    if (clientIdCount_ == 0) {
        auto *const getClientId = module_.find(ENTRY(OrxGetClientId));
        if (getClientId == nullptr) {
            return failureCode();
        }
        uint32_t received = 0;
        if (const uint32_t code = getClientId(&received, serverName_.c_str())) {
            clientId_ = 0;
            return code;
        }
        clientId_ = received;
    }
    ++clientIdCount_;
    return ERROR_SUCCESS;
}

uint32_t OrxClient::releaseClientId() {
    const std::lock_guard guard(clientIdLock_);
    if (clientIdCount_ != 0 && --clientIdCount_ == 0) {
        clientId_ = 0; // not reported: the service has no function to release an identifier
    }
    return ERROR_SUCCESS;
}

void OrxClient::addHandle(uint32_t handle) {
    const std::lock_guard guard(handleLock_);
    openHandles_.add(handle, clientId());
}

std::optional<OpenHandles::Record> OrxClient::findHandle(uint32_t handle) {
    const std::lock_guard guard(handleLock_);
    // Returns a copy, because another thread may close the handle while this one calls the service.
    return openHandles_.find(handle);
}

bool OrxClient::removeHandle(uint32_t handle) {
    const std::lock_guard guard(handleLock_);
    return openHandles_.remove(handle);
}

/// Acquires a load reference and an identifier reference. @return 0; or a code, without any reference
uint32_t OrxClient::bringUp() {
    if (loadService() != ERROR_SUCCESS) {
        return ERROR_MOD_NOT_FOUND;
    }
    const uint32_t code = acquireClientId();
    if (code != ERROR_SUCCESS) {
        unloadService();
    }
    return code;
}

void OrxClient::giveBack() {
    releaseClientId();
    unloadService();
}

uint32_t OrxClient::acquireReferences() {
    if (const uint32_t code = loadService()) {
        return code;
    }
    return acquireClientId();
}

uint32_t OrxClient::releaseReferences() {
    giveBack();
    return ERROR_SUCCESS;
}

uint32_t OrxClient::checkServerName() {
    return checkServerByName(serverName_);
}

#define ORX_OPERATION(slot, operation, pattern, parameters, arguments)                                                 \
    uint32_t OrxClient::operation parameters {                                                                         \
        return pattern arguments;                                                                                      \
    }
#include "service/OrxOperations.inc"
#undef ORX_OPERATION
#undef ENTRY

} // namespace kal
