#include "tools/doctor/ServiceLibrary.h"

#include "tools/text/Text.h"

namespace tool {

namespace {

/// Arguments of each operation as they are written in the table; the entry point, where there is one, comes first.
constexpr std::string_view operationArguments[] = {
#define ORX_OPERATION(slot, operation, pattern, parameters, arguments) #arguments,
#include "service/OrxOperations.inc"
#undef ORX_OPERATION
};

/// The name in ("OrxClosePrinter", handle); "" where an operation of its own stands instead.
constexpr std::string_view entryPointOf(std::string_view arguments) {
    constexpr std::string_view opening = "(\"";
    if (!arguments.starts_with(opening)) {
        return {};
    }
    arguments.remove_prefix(opening.size());
    return arguments.substr(0, arguments.find('"'));
}

constexpr const char *initializeName = "OrxInitialize";
constexpr const char *uninitializeName = "OrxUninitialize";
constexpr const char *clientIdName = "OrxGetClientId";

using PlainFunction = uint32_t (*)();
using ClientIdFunction = uint32_t (*)(uint32_t *, const char *);

} // namespace

std::vector<std::string_view> entryPointNames() {
    std::vector<std::string_view> names{initializeName, uninitializeName, clientIdName};
    for (const std::string_view arguments : operationArguments) {
        if (const std::string_view name = entryPointOf(arguments); !name.empty()) {
            names.push_back(name);
        }
    }
    return names;
}

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
    for (const std::string_view name : entryPointNames()) {
        if (GetProcAddress(module_, std::string(name).c_str()) == nullptr) {
            missing.push_back(name);
        }
    }
    return missing;
}

template <class Function>
Function ServiceLibrary::find(const char *name) const {
    // By way of void *: the two function types have nothing in common, as the system's interface wants it.
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
