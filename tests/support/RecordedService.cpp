#include "tests/support/RecordedService.h"

#include "tests/support/ExportDirectory.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace kal::test {

namespace {

struct EntryPointRow {
    const char *name;
    const char *kinds;
};

constexpr EntryPointRow entryPoints[] = {
#define EXPECTED_ENTRY_POINT(name, kinds) {#name, kinds},
#include "tests/support/ExpectedEntryPoints.inc"
#undef EXPECTED_ENTRY_POINT
};

const EntryPointRow &rowOf(std::string_view name) {
    for (const EntryPointRow &row : entryPoints)
        if (name == row.name)
            return row;
    throw std::logic_error("no such entry point: " + std::string(name)); // an error in the test
}

/// The null-terminated string at an address, as far as it can be read.
std::string readableText(uint64_t address) {
    constexpr size_t most = 1024;
    MEMORY_BASIC_INFORMATION region = {};
    const auto *start = reinterpret_cast<const char *>(static_cast<uintptr_t>(address));
    if (address < 0x10000 || VirtualQuery(start, &region, sizeof region) == 0 || region.State != MEM_COMMIT ||
        (region.Protect & (PAGE_NOACCESS | PAGE_GUARD | PAGE_EXECUTE)) != 0)
        return {};
    const auto left = static_cast<size_t>(static_cast<const char *>(region.BaseAddress) + region.RegionSize - start);
    return {start, strnlen(start, std::min(left, most))};
}

/// The module that the client loaded: the fake itself, or the spy that loaded it.
HMODULE frontOf(HMODULE module) {
    std::string path(MAX_PATH, '\0');
    path.resize(GetModuleFileNameA(module, path.data(), MAX_PATH));
    path.replace(path.rfind('\\') + 1, path.npos, "comc.dll");
    const HMODULE front = GetModuleHandleA(path.c_str());
    return front != nullptr ? front : module;
}

} // namespace

const ServiceHost RecordedService::host = {&RecordedService::attached, &RecordedService::detached,
                                           &RecordedService::called};
std::mutex RecordedService::instanceLock;
RecordedService *RecordedService::instance = nullptr;

const std::vector<std::string> &entryPointNames() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> all;
        for (const EntryPointRow &row : entryPoints)
            all.emplace_back(row.name);
        return all;
    }();
    return names;
}

std::string_view argumentKinds(std::string_view entryPoint) {
    return rowOf(entryPoint).kinds;
}

RecordedService::RecordedService() {
    char text[64];
    std::snprintf(text, sizeof text, "%lx:%llx", GetCurrentProcessId(),
                  static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(&host)));
    SetEnvironmentVariableA(serviceHostVariable, text);
    const std::lock_guard guard(instanceLock);
    if (instance != nullptr)
        throw std::logic_error("only one RecordedService at a time");
    instance = this;
}

RecordedService::~RecordedService() {
    // Frees modules that the test left loaded; otherwise the next test would not see its first load.
    for (auto left = modules_; !left.empty(); left = modules_)
        FreeLibrary(frontOf(left.front()));
    const std::lock_guard guard(instanceLock);
    instance = nullptr;
}

void RecordedService::answers(std::string_view entryPoint, uint32_t code) {
    does(entryPoint, [code](const ServiceCall &) { return code; });
}

void RecordedService::answersInTurn(std::string_view entryPoint, std::initializer_list<uint32_t> codes) {
    const std::lock_guard guard(lock_);
    scripts_[rowOf(entryPoint).name].turns.assign(codes);
}

void RecordedService::does(std::string_view entryPoint, Action action) {
    const std::lock_guard guard(lock_);
    scripts_[rowOf(entryPoint).name].action = std::move(action);
}

void RecordedService::fills(std::string_view entryPoint, size_t argument, std::string bytes, uint32_t code) {
    does(entryPoint, [argument, bytes = std::move(bytes), code](const ServiceCall &call) {
        std::memcpy(call.pointer<char>(argument), bytes.data(), bytes.size());
        return code;
    });
}

void RecordedService::lacks(std::string_view entryPoint) {
    const std::lock_guard guard(lock_);
    const auto *name = rowOf(entryPoint).name;
    lacking_.insert(name);
    for (HMODULE module : modules_) {
        removeExport(module, name);
        removeExport(frontOf(module), name); // a spy copies the export directory once, when it is loaded
    }
}

void RecordedService::hasAgain(std::string_view entryPoint) {
    const std::lock_guard guard(lock_);
    lacking_.erase(rowOf(entryPoint).name);
}

void RecordedService::handsOutClientIds(std::initializer_list<uint32_t> identifiers) {
    const std::lock_guard guard(lock_);
    clientIds_.assign(identifiers);
}

void RecordedService::stringProperty(std::string name, std::string value) {
    const std::lock_guard guard(lock_);
    properties_[{-1, std::move(name)}] = {Property::Kind::text, std::move(value), 0};
}

void RecordedService::stringProperty(uint32_t handle, std::string name, std::string value) {
    const std::lock_guard guard(lock_);
    properties_[{handle, std::move(name)}] = {Property::Kind::text, std::move(value), 0};
}

void RecordedService::bytesProperty(std::string name, std::string bytes) {
    const std::lock_guard guard(lock_);
    properties_[{-1, std::move(name)}] = {Property::Kind::bytes, std::move(bytes), 0};
}

void RecordedService::bytesProperty(uint32_t handle, std::string name, std::string bytes) {
    const std::lock_guard guard(lock_);
    properties_[{handle, std::move(name)}] = {Property::Kind::bytes, std::move(bytes), 0};
}

void RecordedService::longProperty(std::string name, uint32_t value) {
    const std::lock_guard guard(lock_);
    properties_[{-1, std::move(name)}] = {Property::Kind::number, {}, value};
}

void RecordedService::longProperty(uint32_t handle, std::string name, uint32_t value) {
    const std::lock_guard guard(lock_);
    properties_[{handle, std::move(name)}] = {Property::Kind::number, {}, value};
}

std::vector<ServiceCall> RecordedService::calls() const {
    const std::lock_guard guard(lock_);
    return calls_;
}

std::vector<ServiceCall> RecordedService::calls(std::string_view entryPoint) const {
    const std::lock_guard guard(lock_);
    const auto *name = rowOf(entryPoint).name;
    std::vector<ServiceCall> found;
    std::copy_if(calls_.begin(), calls_.end(), std::back_inserter(found),
                 [name](const ServiceCall &call) { return call.entryPoint == name; });
    return found;
}

ServiceCall RecordedService::lastCall(std::string_view entryPoint) const {
    const auto found = calls(entryPoint);
    if (found.empty())
        throw std::runtime_error("never called: " + std::string(entryPoint));
    return found.back();
}

size_t RecordedService::count(std::string_view entryPoint) const {
    return calls(entryPoint).size();
}

std::vector<std::string> RecordedService::sequence() const {
    std::vector<std::string> names;
    for (const ServiceCall &call : calls())
        names.push_back(call.entryPoint);
    return names;
}

std::vector<std::string> RecordedService::operations() const {
    auto names = sequence();
    std::erase_if(names, [](const std::string &name) {
        return name == "OrxInitialize" || name == "OrxUninitialize" || name == "OrxGetClientId";
    });
    return names;
}

void RecordedService::forgetCalls() {
    const std::lock_guard guard(lock_);
    calls_.clear();
}

int RecordedService::loads() const {
    const std::lock_guard guard(lock_);
    return loads_;
}

int RecordedService::unloads() const {
    const std::lock_guard guard(lock_);
    return unloads_;
}

bool RecordedService::isLoaded() const {
    const std::lock_guard guard(lock_);
    return !modules_.empty();
}

void RecordedService::attached(HMODULE module) {
    const std::lock_guard instanceGuard(instanceLock);
    if (instance == nullptr)
        return;
    const std::lock_guard guard(instance->lock_);
    ++instance->loads_;
    instance->modules_.push_back(module);
    for (const std::string &name : instance->lacking_)
        removeExport(module, name);
}

void RecordedService::detached(HMODULE module) {
    const std::lock_guard instanceGuard(instanceLock);
    if (instance == nullptr)
        return;
    const std::lock_guard guard(instance->lock_);
    if (std::erase(instance->modules_, module) != 0) // a module loaded before this instance is not counted
        ++instance->unloads_;
}

uint32_t RecordedService::called(EntryPoint entryPoint, const uint64_t *arguments) {
    RecordedService *service = nullptr;
    {
        const std::lock_guard guard(instanceLock);
        service = instance;
    }
    return service != nullptr ? service->answer(entryPoint, arguments) : 0;
}

uint32_t RecordedService::answer(EntryPoint entryPoint, const uint64_t *arguments) {
    const EntryPointRow &row = entryPoints[static_cast<size_t>(entryPoint)];
    ServiceCall call;
    call.entryPoint = row.name;
    call.thread = GetCurrentThreadId();
    std::copy_n(arguments, recordedArguments, call.arguments.begin());
    for (size_t index = 0; row.kinds[index] != '\0'; ++index)
        if (row.kinds[index] == 'P')
            call.texts[index] = readableText(arguments[index]);

    Action action;
    {
        const std::lock_guard guard(lock_);
        call.load = loads_;
        calls_.push_back(call);
        if (const auto script = scripts_.find(call.entryPoint); script != scripts_.end()) {
            if (!script->second.turns.empty()) {
                const uint32_t code = script->second.turns.front();
                script->second.turns.pop_front();
                return code;
            }
            action = script->second.action;
        }
    }
    return action ? action(call) : answerUnscripted(call);
}

uint32_t RecordedService::answerUnscripted(const ServiceCall &call) {
    const std::lock_guard guard(lock_);
    if (call.entryPoint == "OrxGetClientId") {
        if (clientIds_.empty()) {
            *call.pointer<uint32_t>(0) = nextClientId_++;
        } else {
            *call.pointer<uint32_t>(0) = clientIds_.front();
            clientIds_.pop_front();
        }
        return 0;
    }
    const bool readsLong = call.entryPoint.starts_with("OrxGetLong");
    const bool readsBuffer =
        call.entryPoint.starts_with("OrxGetString") || call.entryPoint.starts_with("OrxGetByteArray");
    if (!readsLong && !readsBuffer)
        return 0;
    const Property *property = findProperty(call.number(1), call.text(2));
    if (property == nullptr)
        return 0;
    if (readsLong) {
        *call.pointer<uint32_t>(3) = property->number;
        return 0;
    }
    const size_t length = property->bytes.size() + (property->kind == Property::Kind::text ? 1 : 0);
    if (auto *reported = call.pointer<uint32_t>(5))
        *reported = static_cast<uint32_t>(length);
    if (length > call.number(4))
        return ERROR_INSUFFICIENT_BUFFER;
    std::memcpy(call.pointer<char>(3), property->bytes.c_str(), length);
    return 0;
}

const RecordedService::Property *RecordedService::findProperty(uint32_t handle, const std::string &descriptor) const {
    constexpr std::string_view opening = "<Name>";
    const auto start = descriptor.find(opening);
    const auto end = descriptor.find("</Name>");
    if (start == std::string::npos || end == std::string::npos)
        return nullptr;
    const auto name = descriptor.substr(start + opening.size(), end - start - opening.size());
    for (const int64_t key : {static_cast<int64_t>(handle), int64_t{-1}})
        if (const auto found = properties_.find({key, name}); found != properties_.end())
            return &found->second;
    return nullptr;
}

} // namespace kal::test
