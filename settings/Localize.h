#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

namespace kal {

/// Where this library lies, which brand it belongs to and where its settings are. One instance a process, made when the
/// library is loaded and destroyed when it is unloaded, not when the process ends: whoever logs last still needs it.
/// Only read after construction.
class Localize {
  public:
    /// Makes the instance when there is none yet; a construction that throws leaves none, so that a later call tries
    /// again. Throws "Localize::Localize(): GetModuleFileName failed" and "Localize::Localize(): GetLocalId failed".
    static void createInstance(HMODULE module);

    /// For the unloading of the library, when nobody uses the instance any more.
    static void destroyInstance() noexcept;

    /// Throws a plain C string when there is no instance: a programming error.
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
    // Built once: neither the library's name nor the table can change while it is loaded.
    std::string productRoot_;
    std::string serviceRoot_;
    std::string localRoot_;
    std::string sharedRoot_;
    std::string temporaryRoot_;
};

} // namespace kal
