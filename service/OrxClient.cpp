#include "service/OrxClient.h"

#include "platform/EntryPoint.h"
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
    if (module_ != nullptr) {
        unloadNow();
    }
}

uint32_t OrxClient::loadService() {
    const std::lock_guard guard(loadLock_);
    // A module that was freed after a failed OrxInitialize deliberately counts as loaded: this call increases the count
    // and returns 0 without loading. After the matching unload, comc.dll can be loaded again.
    if (loadCount_ != 0 || module_ != nullptr) {
        ++loadCount_;
        return ERROR_SUCCESS;
    }
    const HMODULE loaded = LoadLibraryA(libraryPath_.c_str());
    if (loaded == nullptr) {
        return failureCode();
    }
    module_ = loaded;
    auto *const initialize = resolve(ENTRY(OrxInitialize));
    if (initialize != nullptr && initialize() == ERROR_SUCCESS) {
        ++loadCount_;
        return ERROR_SUCCESS;
    }
    const uint32_t code = failureCode();
    module_ = releasedModule(); // before freeing it, because other threads look up names without the lock
    FreeLibrary(loaded);
    return code;
}

uint32_t OrxClient::unloadService() {
    const std::lock_guard guard(loadLock_);
    if (loadCount_ != 0) {
        --loadCount_;
    }
    if (loadCount_ == 0 && module_ != nullptr && !keepLoaded_) {
        unloadNow();
    }
    return ERROR_SUCCESS;
}

/// To be called with the load lock held.
void OrxClient::unloadNow() {
    if (auto *const uninitialize = resolve(ENTRY(OrxUninitialize))) {
        uninitialize();
    }
    const HMODULE module = module_.exchange(nullptr);
    if (module != releasedModule()) {
        FreeLibrary(module);
    }
    loadCount_ = 0;
}

uint32_t OrxClient::acquireClientId() {
    const std::lock_guard guard(clientIdLock_);
    if (const uint32_t code = checkServerByName(serverName_)) {
        return code;
    }
    if (clientIdCount_ == 0) {
        auto *const getClientId = resolve(ENTRY(OrxGetClientId));
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
        clientId_ = 0; // without a call: the service has no function to release an identifier
    }
    return ERROR_SUCCESS;
}

void OrxClient::addHandle(uint32_t handle) {
    const std::lock_guard guard(handleLock_);
    const auto position = openHandles_.lower_bound(handle);
    if (position != openHandles_.end() && position->first == handle) {
        ++position->second.openCount;
        return;
    }
    const OpenHandleRecord record = {handle, clientId(), 1};
    if (spareRecord_.empty()) {
        openHandles_.emplace_hint(position, handle, record);
        return;
    }
    spareRecord_.key() = handle;
    spareRecord_.mapped() = record;
    openHandles_.insert(position, std::move(spareRecord_));
}

std::optional<OrxClient::OpenHandleRecord> OrxClient::findHandle(uint32_t handle) {
    const std::lock_guard guard(handleLock_);
    const auto position = openHandles_.find(handle);
    // Returns a copy, because another thread may close the handle while this one calls the service.
    return position == openHandles_.end() ? std::nullopt : std::optional(position->second);
}

bool OrxClient::removeHandle(uint32_t handle) {
    const std::lock_guard guard(handleLock_);
    const auto position = openHandles_.find(handle);
    if (position == openHandles_.end()) {
        return false;
    }
    if (--position->second.openCount == 0) {
        spareRecord_ = openHandles_.extract(position);
    }
    return true;
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
