/// The service's client library. The doctor loads it itself to find out what is wrong with it.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// A file loaded as a library, or the reason why it cannot be.
class ServiceLibrary {
  public:
    explicit ServiceLibrary(const std::string &path);
    ~ServiceLibrary();
    ServiceLibrary(const ServiceLibrary &) = delete;
    ServiceLibrary &operator=(const ServiceLibrary &) = delete;

    [[nodiscard]] bool isLoaded() const noexcept { return module_ != nullptr; }
    [[nodiscard]] unsigned long loadError() const noexcept { return loadError_; }
    [[nodiscard]] std::vector<std::string_view> missingEntryPoints() const;

    /// The code of the call; 127 if the entry point is missing.
    [[nodiscard]] uint32_t initialize() const;
    [[nodiscard]] uint32_t requestClientId(uint32_t &clientId) const;
    void uninitialize() const;

  private:
    template <class Function>
    [[nodiscard]] Function find(const char *name) const;

    HMODULE module_;
    unsigned long loadError_ = 0;
};

} // namespace tool
