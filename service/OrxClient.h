#pragma once

#include "comc/comc.h"
#include "platform/CriticalSection.h"
#include "service/OpenHandles.h"
#include "service/ServiceFunction.h"
#include "service/ServiceModule.h"

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

namespace kal {

/// The binding to the communication service. It loads comc.dll while a reference exists, and has the client identifier,
/// the table of open handles and one virtual operation per entry point.
///
/// Every operation returns 0 or a Win32-style code: 126 if comc.dll cannot be loaded or started, 127 if it lacks the
/// entry point, 1 for a handle that is not open, otherwise the service's code. Entry points are looked up by name on
/// each call. Any thread may call. The three locks are never held together. During a call of the service no lock is
/// held, except the load lock for OrxInitialize and OrxUninitialize, and the identifier lock for OrxGetClientId.
///
/// The order of the virtual operations is part of the binary interface.
class OrxClient {
  public:
    /// Does not load comc.dll yet.
    /// @param libraryModule  the module whose folder contains comc.dll
    /// @param serverName     machine of the service; null or empty for this machine
    /// @param keepLoaded     whether comc.dll stays loaded without references
    OrxClient(HMODULE libraryModule, const char *serverName, bool keepLoaded);
    OrxClient(const OrxClient &) = delete;
    OrxClient &operator=(const OrxClient &) = delete;
    /// Unloads comc.dll, even if there are references.
    virtual ~OrxClient();

#define ORX_OPERATION(slot, operation, pattern, parameters, arguments) virtual uint32_t operation parameters;
#include "service/OrxOperations.inc"
#undef ORX_OPERATION

    /// The identifier that the service assigned; 0 without references.
    [[nodiscard]] uint32_t clientId() const noexcept {
        return clientId_.load(std::memory_order_relaxed);
    }
    [[nodiscard]] const std::string &libraryPath() const noexcept {
        return libraryPath_;
    }

  private:
    [[nodiscard]] uint32_t loadService();
    uint32_t unloadService();
    [[nodiscard]] uint32_t acquireClientId();
    uint32_t releaseClientId();
    /// Counts one more open. Throws std::bad_alloc without counting.
    void addHandle(uint32_t handle);
    [[nodiscard]] std::optional<OpenHandles::Record> findHandle(uint32_t handle);
    /// Decrements the open count of a handle and removes its record at 0. @return whether the handle was open
    bool removeHandle(uint32_t handle);
    [[nodiscard]] uint32_t bringUp();
    void giveBack();
    void unloadNow();
    /// An entry point whose first argument is the client identifier, or the identifier and a handle.
    template <class... Arguments>
    using ClientFunction = ServiceFunction<uint32_t(uint32_t clientId, Arguments...)>;
    template <class... Arguments>
    using HandleFunction = ClientFunction<uint32_t, Arguments...>;

    // The patterns of operations. OrxOperations.inc selects one per operation.
    template <class... Arguments>
    uint32_t clientScoped(ClientFunction<Arguments...> function, Arguments... arguments);
    uint32_t open(HandleFunction<> function, HandleFunction<> closeFunction, uint32_t handle);
    uint32_t close(HandleFunction<> function, uint32_t handle);
    template <class... Arguments>
    uint32_t handleScoped(HandleFunction<Arguments...> function, uint32_t handle, Arguments... arguments);
    template <class... Arguments>
    uint32_t serviceControl(ServiceFunction<uint32_t(Arguments...)> function, Arguments... arguments);
    template <class... Arguments>
    uint32_t handleScopedOrClose(HandleFunction<Arguments...> function, uint32_t handle, Arguments... arguments);
    template <class... Arguments>
    uint32_t handleScopedWithBackOff(HandleFunction<Arguments...> function, uint32_t handle, Arguments... arguments);
    template <class... Arguments>
    uint32_t keepingReferences(ClientFunction<Arguments...> function, Arguments... arguments);
    uint32_t givingReferencesBack(ClientFunction<> function);
    template <class... Arguments>
    uint32_t inCurrentModule(ClientFunction<Arguments...> function, Arguments... arguments);
    uint32_t setClientInfo(ClientFunction<const void *, const void *> function, const void *name, const void *value);
    uint32_t closeEveryHandle(uint32_t (OrxClient::*closeOne)(uint32_t));
    uint32_t acquireReferences();
    uint32_t releaseReferences();
    uint32_t installService(ServiceFunction<uint32_t()> function);
    uint32_t checkServerName();

    std::atomic<uint32_t> clientId_ = 0;
    std::string serverName_;
    std::string libraryPath_;
    OpenHandles openHandles_;
    uint32_t clientIdCount_ = 0;
    CriticalSection clientIdLock_; ///< guards clientId_ (for writing), clientIdCount_ and the server check
    CriticalSection handleLock_;   ///< guards openHandles_
    CriticalSection loadLock_;     ///< guards module_ (for writing) and loadCount_
    ServiceModule module_;
    uint32_t loadCount_ = 0;
    bool keepLoaded_;
};

} // namespace kal
