// A copy of kalclient.dll in its own folder, with a selected comc.dll next to it. Each copy has its own state:
// registration count, binding, logger, counters.
#pragma once

#include "tests/support/TemporaryFolder.h"

#include <stdexcept>
#include <string>

#include <windows.h>

namespace kal::test {

/// An export of a module, with a type that the test selects, for example with 64-bit arguments to pass garbage in the
/// upper half.
template <class Function>
Function *exported(HMODULE module, const char *name) {
    auto *address = GetProcAddress(module, name);
    if (address == nullptr)
        throw std::runtime_error(std::string("not exported: ") + name);
    return reinterpret_cast<Function *>(reinterpret_cast<void *>(address));
}

enum class ComcFile {
    recording, ///< the comc.dll in the test program's folder
    missing,
    notALibrary ///< a file with this name that Windows cannot load
};

/// If this file is in the test program's folder, it is the fake, and comc.dll is the spy.
inline constexpr const char *realComcName = "comc-real.dll";

/// Puts the selected comc.dll into the folder.
void stageComc(const TemporaryFolder &folder, ComcFile comc);

/// Its delayed imports have their addresses, so that a test sees the same calls whether the library was used before or
/// not.
class StagedLibrary {
  public:
    explicit StagedLibrary(ComcFile comc = ComcFile::recording, const std::string &fileName = "kalclient.dll");
    ~StagedLibrary();
    StagedLibrary(const StagedLibrary &) = delete;
    StagedLibrary &operator=(const StagedLibrary &) = delete;

    HMODULE module() const { return module_; }
    const TemporaryFolder &folder() const { return folder_; }
    /// An export by name: library.function<decltype(KalOpen)>("KalOpen")(0, handle, 0).
    template <class Function>
    Function *function(const char *name) const {
        return exported<Function>(module_, name);
    }

  private:
    TemporaryFolder folder_;
    HMODULE module_ = nullptr;
};

} // namespace kal::test
