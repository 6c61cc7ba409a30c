#include "tools/doctor/ServiceLibrary.h"

#include "comc/EntryPoints.h"
#include "tools/text/Text.h"

namespace tool {

namespace {

constexpr const char *initializeName = "OrxInitialize";
constexpr const char *uninitializeName = "OrxUninitialize";
constexpr const char *clientIdName = "OrxGetClientId";

using PlainFunction = uint32_t (*)();
using ClientIdFunction = uint32_t (*)(uint32_t *, const char *);

} // namespace

ServiceLibrary::ServiceLibrary(const std::string &path) : module_(LoadLibraryW(toWide(path).c_str())) {
    if (module_ == nullptr) {
        loadError_ = GetLastError();
    }
}

ServiceLibrary::~ServiceLibrary() {
    if (module_ != nullptr) {
        FreeLibrary(module_);
    }
}

std::vector<std::string_view> ServiceLibrary::missingEntryPoints() const {
    std::vector<std::string_view> missing;
    for (const comc::EntryPoint &each : comc::entryPoints()) {
        if (GetProcAddress(module_, each.name.data()) == nullptr) { // a literal, so null-terminated
            missing.push_back(each.name);
        }
    }
    return missing;
}

template <class Function>
Function ServiceLibrary::find(const char *name) const {
    // GetProcAddress returns an unrelated function type; the cast through void * avoids a compiler warning.
    return reinterpret_cast<Function>(reinterpret_cast<void *>(GetProcAddress(module_, name)));
}

uint32_t ServiceLibrary::initialize() const {
    const auto function = find<PlainFunction>(initializeName);
    return function == nullptr ? ERROR_PROC_NOT_FOUND : function();
}

uint32_t ServiceLibrary::requestClientId(uint32_t &clientId) const {
    const auto function = find<ClientIdFunction>(clientIdName);
    return function == nullptr ? ERROR_PROC_NOT_FOUND : function(&clientId, "");
}

void ServiceLibrary::uninitialize() const {
    if (const auto function = find<PlainFunction>(uninitializeName)) {
        function();
    }
}

} // namespace tool
