#include "settings/Localize.h"

#include "platform/Exception.h"
#include "platform/Mutex.h"
#include "settings/KeyPaths.h"
#include "settings/ModulePaths.h"

#include <atomic>

namespace kal {

namespace {

enum ThrowSite : uint32_t { moduleFileNameFailed = 33, localIdFailed = 45 };

ProcessMutex creation;
std::atomic<bool> created = false;
const Localize *instance = nullptr; ///< written under creation, before created is set

} // namespace

void Localize::createInstance(HMODULE module) {
    if (created) {
        return;
    }
    const ScopedMutex guard(creation.get());
    if (!created) {
        instance = new Localize(module); // until destroyInstance(), or until the process exits
        created = true;
    }
}

void Localize::destroyInstance() noexcept {
    created = false;
    delete instance;
    instance = nullptr;
}

const Localize &Localize::getInstance() {
    if (!created) {
        throw "You must call Localize::createInstance() before calling getInstance()";
    }
    return *instance;
}

Localize::Localize(HMODULE module) : module_(module) {
    char buffer[pathBufferSize] = {};
    if (GetModuleFileNameA(module, buffer, sizeof buffer) == 0) {
        throw Win32Exception("Localize::Localize(): GetModuleFileName failed", 0, ".\\Localize", moduleFileNameFailed);
    }
    fileName_.assign(buffer, strnlen(buffer, sizeof buffer));
    char brandCode[pathBufferSize] = {};
    if (!brandCodeOfModule(module, brandCode)) {
        throw Win32Exception("Localize::Localize(): GetLocalId failed", 0, ".\\Localize", localIdFailed);
    }
    localId_ = brandCode;
    productRoot_ = productRootOf(localId_);
    serviceRoot_ = serviceRootOf(localId_);
    localRoot_ = rootOf(localId_, RootSelector::localRoot);
    sharedRoot_ = rootOf(localId_, RootSelector::sharedRoot);
    temporaryRoot_ = rootOf(localId_, RootSelector::temporaryRoot);
}

const std::string &Localize::root(uint32_t selector) const noexcept {
    switch (selector) {
    case RootSelector::localRoot:
        return localRoot_;
    case RootSelector::sharedRoot:
        return sharedRoot_;
    default:
        return temporaryRoot_;
    }
}

} // namespace kal
