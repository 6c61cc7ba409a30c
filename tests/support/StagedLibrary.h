// A copy of kalclient.dll in a folder of its own, with the comc.dll of the test's choice beside it. Each copy has its
// own state: registration count, binding, logger, counters.
#pragma once

#include "tests/support/TemporaryFolder.h"

#include <stdexcept>
#include <string>

#include <windows.h>

namespace kal::test {

/// An export of a module under a type of the test's choice, for example one whose arguments are 64 bits wide to leave
/// dirt above a narrow argument.
template <class Function>
Function *exported(HMODULE module, const char *name) {
    auto *address = GetProcAddress(module, name);
    if (address == nullptr)
        throw std::runtime_error(std::string("not exported: ") + name);
    return reinterpret_cast<Function *>(reinterpret_cast<void *>(address));
}

enum class ComcFile {
    recording, ///< the double that lies beside the test program
    missing,
    notALibrary ///< a file of that name that Windows cannot load
};

/// Where this file lies beside the test program, comc.dll is the spy and this the double behind it.
inline constexpr const char *realComcName = "comc-real.dll";

/// Puts a comc.dll, or none, into the folder.
void stageComc(const TemporaryFolder &folder, ComcFile comc);

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
