#include "settings/ModulePaths.h"

#include "settings/BrandTable.h"
#include "settings/KeyPaths.h"

namespace kal {

namespace {

void copyPath(const std::string &path, char *output) {
    lstrcpynA(output, path.c_str(), pathBufferSize);
}

/// The brand code, or "" if the module's name cannot be read; the fallback product is then used.
std::string codeOrNone(HMODULE module) {
    char code[pathBufferSize] = {};
    return brandCodeOfModule(module, code) ? code : "";
}

} // namespace

bool brandCodeOfModule(HMODULE module, char *brandCode) {
    char fileName[pathBufferSize] = {};
    if (brandCode == nullptr || GetModuleFileNameA(module, fileName, sizeof fileName) == 0) {
        return false;
    }
    copyPath(brandCodeOf({fileName, strnlen(fileName, sizeof fileName)}), brandCode);
    return true;
}

bool productRootOfModule(HMODULE module, char *path) {
    char code[pathBufferSize] = {};
    if (path == nullptr || !brandCodeOfModule(module, code)) {
        return false;
    }
    copyPath(productRootOf(code), path);
    return findBrand(code) != nullptr;
}

bool serviceRootOfModule(HMODULE module, char *path) {
    if (path == nullptr) {
        return false;
    }
    copyPath(serviceRootOf(codeOrNone(module)), path);
    return true;
}

bool rootOfModule(HMODULE module, uint32_t selector, char *path) {
    if (path == nullptr) {
        return false;
    }
    copyPath(rootOf(codeOrNone(module), selector), path);
    return true;
}

} // namespace kal
