#pragma once

// The patterns that the operations of OrxClient follow. Only OrxClient.cpp, which makes the operations, includes this.

#include "platform/EntryPoint.h"
#include "service/OrxClient.h"

#include <mutex>
#include <new>
#include <vector>

namespace kal {

template <class... Arguments>
auto OrxClient::resolve(const char *entryPointName) const noexcept -> uint32_t (*)(Arguments...) {
    const HMODULE module = module_;
    if (module == nullptr || module == releasedModule()) {
        SetLastError(ERROR_PROC_NOT_FOUND);
        return nullptr;
    }
    return entryPoint<uint32_t(Arguments...)>(module, entryPointName);
}

template <class... Arguments>
uint32_t OrxClient::clientScoped(const char *entryPointName, Arguments... arguments) {
    if (const uint32_t code = bringUp()) {
        return code;
    }
    const uint32_t result = inCurrentModule(entryPointName, arguments...);
    giveBack();
    return result;
}

template <class... Arguments>
uint32_t OrxClient::keepingReferences(const char *entryPointName, Arguments... arguments) {
    if (const uint32_t code = bringUp()) {
        return code;
    }
    const uint32_t result = inCurrentModule(entryPointName, arguments...);
    if (result != ERROR_SUCCESS) {
        giveBack();
    }
    return result;
}

inline uint32_t OrxClient::open(const char *entryPointName, const char *closeEntryPointName, uint32_t handle) {
    const uint32_t result = keepingReferences(entryPointName, handle);
    if (result == ERROR_SUCCESS) {
        try {
            addHandle(handle);
        } catch (const std::bad_alloc &) {
            inCurrentModule(closeEntryPointName, handle); // what is not on record could never be closed
            giveBack();
            throw;
        }
    }
    return result;
}

inline uint32_t OrxClient::close(const char *entryPointName, uint32_t handle) {
    const auto record = findHandle(handle);
    if (!record) {
        return ERROR_INVALID_FUNCTION;
    }
    auto *const function = resolve<uint32_t, uint32_t>(entryPointName);
    if (function == nullptr) {
        giveBack(); // deliberate: the record stays although its references go
        return ERROR_PROC_NOT_FOUND;
    }
    const uint32_t result = function(record->clientId, handle);
    if (removeHandle(handle)) {
        giveBack(); // unless another thread closed this very open meanwhile and gave its references back
    }
    return result;
}

template <class... Arguments>
uint32_t OrxClient::handleScoped(const char *entryPointName, uint32_t handle, Arguments... arguments) {
    const auto record = findHandle(handle);
    if (!record) {
        return ERROR_INVALID_FUNCTION;
    }
    auto *const function = resolve<uint32_t, uint32_t, Arguments...>(entryPointName);
    return function == nullptr ? ERROR_PROC_NOT_FOUND : function(record->clientId, handle, arguments...);
}

template <class... Arguments>
uint32_t OrxClient::handleScopedOrClose(const char *entryPointName, uint32_t handle, Arguments... arguments) {
    const auto record = findHandle(handle);
    if (!record) {
        return ERROR_INVALID_FUNCTION;
    }
    auto *const function = resolve<uint32_t, uint32_t, Arguments...>(entryPointName);
    if (function == nullptr) {
        ClosePrinter(handle); // of a scanner too, deliberately
        return ERROR_PROC_NOT_FOUND;
    }
    return function(record->clientId, handle, arguments...);
}

template <class... Arguments>
uint32_t OrxClient::handleScopedWithBackOff(const char *entryPointName, uint32_t handle, Arguments... arguments) {
    constexpr DWORD backOffMilliseconds = 2000;
    const uint32_t result = handleScoped(entryPointName, handle, arguments...);
    if (result == ERROR_INSUFFICIENT_BUFFER) {
        Sleep(backOffMilliseconds);
    }
    return result;
}

template <class... Arguments>
uint32_t OrxClient::serviceControl(const char *entryPointName, Arguments... arguments) {
    if (loadService() != ERROR_SUCCESS) {
        return ERROR_MOD_NOT_FOUND;
    }
    auto *const function = resolve<Arguments...>(entryPointName);
    const uint32_t result = function == nullptr ? ERROR_PROC_NOT_FOUND : function(arguments...);
    unloadService();
    return result;
}

template <class... Arguments>
uint32_t OrxClient::inCurrentModule(const char *entryPointName, Arguments... arguments) {
    auto *const function = resolve<uint32_t, Arguments...>(entryPointName);
    return function == nullptr ? ERROR_PROC_NOT_FOUND : function(clientId(), arguments...);
}

inline uint32_t OrxClient::givingReferencesBack(const char *entryPointName) {
    const uint32_t result = inCurrentModule(entryPointName);
    giveBack();
    return result;
}

inline uint32_t OrxClient::setClientInfo(const char *entryPointName, const void *name, const void *value) {
    if (loadService() != ERROR_SUCCESS) {
        return ERROR_MOD_NOT_FOUND;
    }
    if (const uint32_t code = acquireClientId()) {
        giveBack(); // deliberately one identifier reference more than was taken
        return code;
    }
    const uint32_t result = inCurrentModule(entryPointName, name, value);
    giveBack();
    return result;
}

inline uint32_t OrxClient::closeEveryHandle(uint32_t (OrxClient::*closeOne)(uint32_t)) {
    if (const uint32_t code = bringUp()) {
        return code;
    }
    std::vector<uint32_t> handles; // a snapshot: the closes change the table
    try {
        const std::lock_guard guard(handleLock_);
        handles.reserve(openHandles_.size());
        for (const auto &entry : openHandles_) {
            handles.push_back(entry.first);
        }
    } catch (const std::bad_alloc &) {
        giveBack();
        throw;
    }
    uint32_t result = ERROR_SUCCESS;
    for (const uint32_t handle : handles) {
        const auto record = findHandle(handle);
        for (uint32_t count = record ? record->openCount : 0; count > 0; --count) {
            result = (this->*closeOne)(handle);
        }
    }
    giveBack();
    return result;
}

/// One shot, apart from counts and locks.
inline uint32_t OrxClient::installService(const char *entryPointName) {
    const HMODULE loaded = LoadLibraryA(libraryPath_.c_str());
    module_ = loaded;
    if (loaded == nullptr) {
        return GetLastError();
    }
    auto *const function = resolve<>(entryPointName);
    const uint32_t result = function == nullptr ? ERROR_PROC_NOT_FOUND : function();
    module_ = nullptr;
    FreeLibrary(loaded);
    return result;
}

} // namespace kal
