#pragma once

// The patterns of OrxClient's operations. Only OrxClient.cpp, which defines the operations, includes this file.

#include "service/OrxClient.h"

#include <mutex>
#include <new>
#include <vector>

namespace kal {

template <class... Arguments>
uint32_t OrxClient::clientScoped(ClientFunction<Arguments...> function, Arguments... arguments) {
    if (const uint32_t code = bringUp()) {
        return code;
    }
    const uint32_t result = inCurrentModule(function, arguments...);
    giveBack();
    return result;
}

template <class... Arguments>
uint32_t OrxClient::keepingReferences(ClientFunction<Arguments...> function, Arguments... arguments) {
    if (const uint32_t code = bringUp()) {
        return code;
    }
    const uint32_t result = inCurrentModule(function, arguments...);
    if (result != ERROR_SUCCESS) {
        giveBack();
    }
    return result;
}

inline uint32_t OrxClient::open(HandleFunction<> function, HandleFunction<> closeFunction, uint32_t handle) {
    const uint32_t result = keepingReferences(function, handle);
    if (result == ERROR_SUCCESS) {
        try {
            addHandle(handle);
        } catch (const std::bad_alloc &) {
            inCurrentModule(closeFunction, handle); // without a record it could never be closed
            giveBack();
            throw;
        }
    }
    return result;
}

inline uint32_t OrxClient::close(HandleFunction<> function, uint32_t handle) {
    const auto record = findHandle(handle);
    if (!record) {
        return ERROR_INVALID_FUNCTION;
    }
    auto *const found = module_.find(function);
    if (found == nullptr) {
        giveBack(); // deliberate: the references are released, but the record stays
        return ERROR_PROC_NOT_FOUND;
    }
    const uint32_t result = found(record->clientId, handle);
    if (removeHandle(handle)) {
        giveBack(); // otherwise another thread has closed this open and released its references
    }
    return result;
}

template <class... Arguments>
uint32_t OrxClient::handleScoped(HandleFunction<Arguments...> function, uint32_t handle, Arguments... arguments) {
    const auto record = findHandle(handle);
    if (!record) {
        return ERROR_INVALID_FUNCTION;
    }
    auto *const found = module_.find(function);
    return found == nullptr ? ERROR_PROC_NOT_FOUND : found(record->clientId, handle, arguments...);
}

template <class... Arguments>
uint32_t OrxClient::handleScopedOrClose(HandleFunction<Arguments...> function, uint32_t handle,
                                        Arguments... arguments) {
    const auto record = findHandle(handle);
    if (!record) {
        return ERROR_INVALID_FUNCTION;
    }
    auto *const found = module_.find(function);
    if (found == nullptr) {
        ClosePrinter(handle); // deliberately for scanners as well
        return ERROR_PROC_NOT_FOUND;
    }
    return found(record->clientId, handle, arguments...);
}

template <class... Arguments>
uint32_t OrxClient::handleScopedWithBackOff(HandleFunction<Arguments...> function, uint32_t handle,
                                            Arguments... arguments) {
    constexpr DWORD backOffMilliseconds = 2000;
    const uint32_t result = handleScoped(function, handle, arguments...);
    if (result == ERROR_INSUFFICIENT_BUFFER) {
        Sleep(backOffMilliseconds);
    }
    return result;
}

template <class... Arguments>
uint32_t OrxClient::serviceControl(ServiceFunction<uint32_t(Arguments...)> function, Arguments... arguments) {
    if (loadService() != ERROR_SUCCESS) {
        return ERROR_MOD_NOT_FOUND;
    }
    auto *const found = module_.find(function);
    const uint32_t result = found == nullptr ? ERROR_PROC_NOT_FOUND : found(arguments...);
    unloadService();
    return result;
}

template <class... Arguments>
uint32_t OrxClient::inCurrentModule(ClientFunction<Arguments...> function, Arguments... arguments) {
    auto *const found = module_.find(function);
    return found == nullptr ? ERROR_PROC_NOT_FOUND : found(clientId(), arguments...);
}

inline uint32_t OrxClient::givingReferencesBack(ClientFunction<> function) {
    const uint32_t result = inCurrentModule(function);
    giveBack();
    return result;
}

inline uint32_t OrxClient::setClientInfo(ClientFunction<const void *, const void *> function, const void *name,
                                         const void *value) {
    if (loadService() != ERROR_SUCCESS) {
        return ERROR_MOD_NOT_FOUND;
    }
    if (const uint32_t code = acquireClientId()) {
        giveBack(); // deliberately releases one identifier reference too many
        return code;
    }
    const uint32_t result = inCurrentModule(function, name, value);
    giveBack();
    return result;
}

inline uint32_t OrxClient::closeEveryHandle(uint32_t (OrxClient::*closeOne)(uint32_t)) {
    if (const uint32_t code = bringUp()) {
        return code;
    }
    std::vector<uint32_t> handles; // a copy, because the closes change the table
    try {
        const std::lock_guard guard(handleLock_);
        handles = openHandles_.handles();
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

/// Loads, calls and frees comc.dll without counts and locks.
inline uint32_t OrxClient::installService(ServiceFunction<uint32_t()> function) {
    const HMODULE loaded = module_.load(libraryPath_.c_str());
    if (loaded == nullptr) {
        return GetLastError();
    }
    auto *const found = module_.find(function);
    const uint32_t result = found == nullptr ? ERROR_PROC_NOT_FOUND : found();
    module_.free(loaded);
    return result;
}

} // namespace kal
