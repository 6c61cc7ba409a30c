#include "simulator/EntryPointNames.h"

#include <algorithm>

namespace simulator {

namespace {

// The name of an entry point by the pattern of its operation; operations of the client alone have none.
#define NAME_clientScoped(operation) "Orx" #operation,
#define NAME_open(operation) "Orx" #operation,
#define NAME_close(operation) "Orx" #operation,
#define NAME_handleScoped(operation) "Orx" #operation,
#define NAME_serviceControl(operation) "Orx" #operation,
#define NAME_handleScopedOrClose(operation) "Orx" #operation,
#define NAME_handleScopedWithBackOff(operation) "Orx" #operation,
#define NAME_keepingReferences(operation) "Orx" #operation,
#define NAME_givingReferencesBack(operation) "Orx" #operation,
#define NAME_inCurrentModule(operation) "Orx" #operation,
#define NAME_setClientInfo(operation) "Orx" #operation,
#define NAME_installService(operation) "OrxInstall",
#define NAME_closeEveryHandle(operation)
#define NAME_acquireReferences(operation)
#define NAME_releaseReferences(operation)
#define NAME_checkServerName(operation)

constexpr std::string_view names[] = {
#define ORX_OPERATION(slot, operation, pattern, parameters, call) NAME_##pattern(operation)
#include "service/OrxOperations.inc"
#undef ORX_OPERATION
    "OrxInitialize", "OrxUninitialize", "OrxGetClientId"};

} // namespace

std::span<const std::string_view> entryPointNames() noexcept {
    return names;
}

bool isEntryPoint(std::string_view name) noexcept {
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

} // namespace simulator
