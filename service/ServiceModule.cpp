#include "service/ServiceModule.h"

namespace kal {

HMODULE ServiceModule::load(const char *path) noexcept {
    const HMODULE loaded = LoadLibraryA(path);
    module_ = loaded;
    return loaded;
}

void ServiceModule::freeButCountAsLoaded(HMODULE loaded) noexcept {
    module_ = freedModule(); // before freeing it, because other threads look up entry points without the lock
    FreeLibrary(loaded);
}

void ServiceModule::free(HMODULE loaded) noexcept {
    module_ = nullptr;
    FreeLibrary(loaded);
}

void ServiceModule::unload() noexcept {
    const HMODULE module = module_.exchange(nullptr);
    if (module != nullptr && module != freedModule()) {
        FreeLibrary(module);
    }
}

} // namespace kal
