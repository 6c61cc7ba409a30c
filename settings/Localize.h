#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

namespace kal {

/// The brand of this library, and the paths of its file and its settings. There is one instance per process. It is made
/// when the library is loaded and destroyed when it is unloaded, but not at process exit, since the log needs it until
/// the end. It does not change after construction.
class Localize {
  public:
    /// Makes the instance if there is none. If that throws, a later call tries again.
    /// Throws "Localize::Localize(): GetModuleFileName failed" and "Localize::Localize(): GetLocalId failed".
    static void createInstance(HMODULE module);

    /// Call it when the library is unloaded and nothing uses the instance any more.
    static void destroyInstance() noexcept;

    /// Throws a plain C string if there is no instance, which is a programming error.
    [[nodiscard]] static const Localize &getInstance();

    explicit Localize(HMODULE module);

    [[nodiscard]] HMODULE module() const noexcept { return module_; }
    /// The brand code; also the name of the log file.
    [[nodiscard]] const std::string &localId() const noexcept { return localId_; }
    [[nodiscard]] const std::string &fileName() const noexcept { return fileName_; }
    [[nodiscard]] const std::string &productRoot() const noexcept { return productRoot_; }
    [[nodiscard]] const std::string &serviceRoot() const noexcept { return serviceRoot_; }
    /// The root that a RootSelector names.
    [[nodiscard]] const std::string &root(uint32_t selector) const noexcept;

  private:
    HMODULE module_;
    std::string localId_;
    std::string fileName_;
    // Built once: the library's name and the table do not change while it is loaded.
    std::string productRoot_;
    std::string serviceRoot_;
    std::string localRoot_;
    std::string sharedRoot_;
    std::string temporaryRoot_;
};

} // namespace kal
