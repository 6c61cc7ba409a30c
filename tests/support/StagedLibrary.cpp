#include "tests/support/StagedLibrary.h"

#include "tests/support/ImportHook.h"

namespace kal::test {

namespace {

/// If comc.dll is the spy, adds the fake as its real library, and loads the recorder. The recorder stays loaded, so it
/// comes from the program's folder and not from a temporary one.
void stageBehindSpy(const TemporaryFolder &folder) {
    if (std::filesystem::exists(programFolder() / realComcName)) {
        std::filesystem::copy_file(programFolder() / realComcName, folder / realComcName);
        LoadLibraryA((programFolder() / "comc-recorder.dll").string().c_str());
    }
}

} // namespace

void stageComc(const TemporaryFolder &folder, ComcFile comc) {
    if (comc == ComcFile::recording) {
        std::filesystem::copy_file(programFolder() / "comc.dll", folder / "comc.dll");
        stageBehindSpy(folder);
    } else if (comc == ComcFile::notALibrary)
        folder.write("comc.dll", "this is not a library");
}

StagedLibrary::StagedLibrary(ComcFile comc, const std::string &fileName) {
    stageComc(folder_, comc);
    std::filesystem::copy_file(programFolder() / "kalclient.dll", folder_ / fileName);
    module_ = LoadLibraryA((folder_ / fileName).string().c_str());
    if (module_ == nullptr)
        throw std::runtime_error("cannot load " + fileName + ": " + std::to_string(GetLastError()));
    resolveDelayedImports(module_);
}

StagedLibrary::~StagedLibrary() {
    FreeLibrary(module_);
}

} // namespace kal::test
