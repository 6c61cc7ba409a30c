#pragma once

#include "platform/EntryPoint.h"
#include "service/ServiceFunction.h"

#include <windows.h>

#include <atomic>
#include <cstdint>

namespace kal {

/// The module comc.dll. One atomic word holds its three states: none, loaded, and freed but still counting as loaded.
/// Any thread may look up entry points; the owner's lock guards the changes.
class ServiceModule {
  public:
    ServiceModule() = default;
    ServiceModule(const ServiceModule &) = delete;
    ServiceModule &operator=(const ServiceModule &) = delete;
    ~ServiceModule() { unload(); }

    /// Loads a file, which becomes the module in any state. If loading fails, there is no module.
    /// @return the module; null, with the last error, on failure
    HMODULE load(const char *path) noexcept;
    [[nodiscard]] bool countsAsLoaded() const noexcept { return module_ != nullptr; }
    /// The entry point. If it is missing or no module is loaded, null, with last error 127.
    template <class Function>
    [[nodiscard]] Function *find(ServiceFunction<Function> function) const noexcept {
        const HMODULE module = module_;
        if (module == nullptr || module == freedModule()) {
            SetLastError(ERROR_PROC_NOT_FOUND);
            return nullptr;
        }
        return entryPoint<Function>(module, function.name);
    }

    /// Frees a module that load() returned. The state counts as loaded, but there is no module to call or free.
    void freeButCountAsLoaded(HMODULE loaded) noexcept;
    /// Frees a module that load() returned. The state is none, even if another module was loaded.
    void free(HMODULE loaded) noexcept;
    /// Frees the module, if one is loaded. The state is none.
    void unload() noexcept;

  private:
    /// Replaces a module that was freed but counts as loaded. No module has this address.
    [[nodiscard]] static HMODULE freedModule() noexcept { return reinterpret_cast<HMODULE>(uintptr_t{1}); }

    std::atomic<HMODULE> module_ = nullptr;
};

} // namespace kal
