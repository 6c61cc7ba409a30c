#include "tests/faults/ImportWatch.h"

#include "tests/support/ImportHook.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <utility>

#if defined(_MSC_VER)
#include <intrin.h>
#endif

namespace kal::test {

namespace {

constexpr uint64_t everyBit = ~uint64_t{0};
constexpr uint64_t lowHalf = 0xFFFFFFFF;

constexpr ImportRow importRows[] = {
#define ROW(import, use, failure, lastError, unitTest)                                                                 \
    {#import, ImportUse::use, static_cast<uint64_t>(failure), lastError, unitTest},
#define FAILS(import, failure, lastError) ROW(import, fails, failure, lastError, nullptr)
#define FAILS_BEHIND(import, failure, lastError, other)                                                                \
    {#import, ImportUse::fails, static_cast<uint64_t>(failure), lastError, nullptr, #other},
#define LETS_GO(import, failure, lastError) ROW(import, letsGo, failure, lastError, nullptr)
#define ALLOCATES(import) ROW(import, allocates, 0, ERROR_NOT_ENOUGH_MEMORY, nullptr)
#define WATCHED(import, reason) ROW(import, watched, 0, 0, nullptr)
#define UNREACHED(import, reason, test) ROW(import, unreached, 0, 0, test)
#define NOT_FAILED(import, reason) ROW(import, notFailed, 0, 0, nullptr)
#define RUNTIME(import) ROW(import, runtime, 0, 0, nullptr)
#include "tests/faults/Imports.inc"
#undef FAILS
#undef FAILS_BEHIND
#undef LETS_GO
#undef ALLOCATES
#undef WATCHED
#undef UNREACHED
#undef NOT_FAILED
#undef RUNTIME
#undef ROW
};
constexpr size_t rowCount = std::size(importRows);

#if defined(_MSC_VER)
#define callerOfThis() _ReturnAddress()
#else
#define callerOfThis() __builtin_return_address(0)
#endif

/// What stands in the import table. Every import gets eleven words, whatever it takes: those behind its last argument
/// are the caller's stack.
template <size_t Row>
uint64_t enter(uint64_t a0, uint64_t a1, uint64_t a2, uint64_t a3, uint64_t a4, uint64_t a5, uint64_t a6, uint64_t a7,
               uint64_t a8, uint64_t a9, uint64_t a10) {
    return ImportWatch::entered(Row, {a0, a1, a2, a3, a4, a5, a6, a7, a8, a9, a10}, callerOfThis());
}

using Entry = decltype(&enter<0>);

template <size_t... Row>
constexpr std::array<Entry, sizeof...(Row)> makeEntries(std::index_sequence<Row...>) {
    return {&enter<Row>...};
}
constexpr auto entries = makeEntries(std::make_index_sequence<rowCount>());

bool is(const ImportRow &row, const char *name) {
    return std::strcmp(row.name, name) == 0;
}

template <class Type>
Type *pointer(uint64_t word) {
    return reinterpret_cast<Type *>(static_cast<uintptr_t>(word));
}

std::string textAt(uint64_t word) {
    return word == 0 ? std::string() : std::string(pointer<const char>(word));
}

std::string baseName(const std::string &path) {
    return path.substr(path.rfind('\\') + 1);
}

bool isWatched(ImportUse use) {
    return use != ImportUse::notFailed && use != ImportUse::runtime;
}

bool isFailable(ImportUse use) {
    return use == ImportUse::fails || use == ImportUse::letsGo || use == ImportUse::allocates;
}

const char *subjectOf(const ImportRow &row) {
    return row.use == ImportUse::allocates ? Fault::memory : row.name;
}

} // namespace

const std::vector<ImportRow> &importTable() {
    static const std::vector<ImportRow> table(std::begin(importRows), std::end(importRows));
    return table;
}

std::string failsBehind(const std::string &import) {
    const auto *const row = std::ranges::find(importRows, import, &ImportRow::name);
    return row == std::end(importRows) || row->behind == nullptr ? "" : row->behind;
}

std::string Holdings::text() const {
    std::string all;
    for (const auto &[kind, count] : counts)
        all += (all.empty() ? "" : ", ") + std::to_string(count) + " " + kind;
    return all.empty() ? "nothing" : all;
}

/// What goes to a thread that the library starts.
struct ImportWatch::StartedThread {
    unsigned(__stdcall *procedure)(void *);
    void *argument;
    HANDLE joined;
};

ImportWatch *ImportWatch::active = nullptr;

namespace {

std::array<bool, rowCount> hasEverFailed = {}; ///< by row; under the active watch's lock

void (*programFree)(void *) = nullptr;

/// An exception that leaves the library is freed by the program that catches it.
void freeOfProgram(void *block) {
    ImportWatch::freedByProgram(block);
    programFree(block);
}

} // namespace

namespace {
thread_local HANDLE joinOfThisThread = nullptr;
}

ImportWatch::ImportWatch(HMODULE module) : module_(module), places_(rowCount), originals_(rowCount) {
    if (active != nullptr)
        throw std::logic_error("one watch at a time");
    active = this;
    void **const place = findImport(GetModuleHandleA(nullptr), "free");
    programFree = reinterpret_cast<void (*)(void *)>(*place);
    writeImport(place, reinterpret_cast<void *>(&freeOfProgram));
    for (size_t row = 0; row < rowCount; ++row) {
        if (!isWatched(importRows[row].use))
            continue;
        places_[row] = findImport(module, importRows[row].name);
        if (places_[row] == nullptr)
            continue; // the test of the table tells
        originals_[row] = reinterpret_cast<uintptr_t>(*places_[row]);
        writeImport(places_[row], reinterpret_cast<void *>(entries[row]));
    }
}

ImportWatch::~ImportWatch() {
    writeImport(findImport(GetModuleHandleA(nullptr), "free"), reinterpret_cast<void *>(programFree));
    for (size_t row = 0; row < rowCount; ++row)
        if (module_ != nullptr && places_[row] != nullptr)
            writeImport(places_[row], reinterpret_cast<void *>(static_cast<uintptr_t>(originals_[row])));
    active = nullptr;
}

void ImportWatch::forgetModule() {
    module_ = nullptr;
}

void ImportWatch::freedByProgram(void *block) {
    const std::lock_guard guard(active->lock_);
    active->blocks_.erase(reinterpret_cast<uintptr_t>(block));
}

void ImportWatch::begin(const Fault &fault) {
    const std::lock_guard guard(lock_);
    calls_.clear();
    ordinals_.clear();
    fault_ = fault;
    inTheWay_ = failsBehind(fault.import);
    failable_ = 0;
    firstAllocator_ = nullptr;
    hasFailed_ = false;
    isNoting_ = true;
}

void ImportWatch::end() {
    const std::lock_guard guard(lock_);
    isNoting_ = false;
}

std::vector<ImportWatch::Call> ImportWatch::calls() const {
    const std::lock_guard guard(lock_);
    return calls_;
}

std::set<std::string> ImportWatch::unexpected() const {
    const std::lock_guard guard(lock_);
    return unexpected_;
}

std::set<std::string> ImportWatch::neverFailed() {
    std::set<std::string> names;
    for (size_t row = 0; row < rowCount; ++row)
        if (isFailable(importRows[row].use) && !hasEverFailed[row])
            names.insert(importRows[row].name);
    return names;
}

Holdings ImportWatch::holdings() const {
    const std::lock_guard guard(lock_);
    Holdings all;
    const auto add = [&](const std::string &kind, int count) {
        if (count != 0)
            all.counts[kind] += count;
    };
    for (const auto &[handle, kind] : handles_)
        add("handle of a " + kind, 1);
    for (const auto &[module, count] : modules_)
        add("module", count);
    add("registry key", static_cast<int>(keys_.size()));
    add("SID", static_cast<int>(sids_.size()));
    add("block of memory", static_cast<int>(blocks_.size()));
    add("critical section", static_cast<int>(sections_.size()));
    add("entered critical section", sectionsEntered_);
    add("held mutex", mutexesHeld_);
    add("running thread", threads_);
    return all;
}

uint64_t ImportWatch::entered(size_t row, const Words &words, const void *caller) {
    return active->handle(row, words, caller);
}

uint64_t ImportWatch::original(size_t row, const Words &w) const {
    return reinterpret_cast<Entry>(static_cast<uintptr_t>(originals_[row]))(w[0], w[1], w[2], w[3], w[4], w[5], w[6],
                                                                            w[7], w[8], w[9], w[10]);
}

uint64_t ImportWatch::handle(size_t index, const Words &words, const void *caller) {
    const ImportRow &row = importRows[index];
    const DWORD lastErrorBefore = GetLastError();
    if (is(row, "GetTickCount"))
        return ++tick_;
    bool fails = false;
    {
        const std::lock_guard guard(lock_);
        if (row.use == ImportUse::unreached)
            unexpected_.insert(row.name);
        if (isNoting_ && isFailable(row.use)) {
            const std::string what = about(row, words);
            const std::string subject = subjectOf(row);
            const int ordinal = ++ordinals_[subject + "/" + what];
            calls_.push_back({subject, what + "#" + std::to_string(ordinal), caller});
            fails = isToFail(row, caller);
            hasEverFailed[index] |= fails;
        }
        if (row.use == ImportUse::letsGo)
            account(row, words, 1); // before it is gone, and its number given to another
    }
    if (is(row, "WaitForSingleObject"))
        noteJoin(words[0]);
    if (fails && row.use != ImportUse::letsGo) {
        SetLastError(row.lastError);
        return row.failure;
    }
    SetLastError(lastErrorBefore);
    const uint64_t result = is(row, "_beginthreadex") ? startThread(index, words) : original(index, words);
    const DWORD lastError = GetLastError();
    if (row.use != ImportUse::letsGo) {
        const std::lock_guard guard(lock_);
        account(row, words, result);
    }
    if (is(row, "SetEvent"))
        waitForJoin();
    SetLastError(fails ? row.lastError : lastError);
    return fails ? row.failure : result;
}

bool ImportWatch::isToFail(const ImportRow &row, const void *caller) {
    if (row.use == ImportUse::allocates && firstAllocator_ == nullptr)
        firstAllocator_ = caller;
    if (inTheWay_ == row.name)
        return true;
    if (fault_.import != subjectOf(row) || (isRuntimeSpared(row) && caller != allocator_))
        return false;
    ++failable_;
    const bool fails = fault_.forGood ? failable_ >= fault_.nth : failable_ == fault_.nth;
    hasFailed_ |= fails;
    return fails;
}

/// The run time cannot do without memory: it needs some at a thread's first exception, and ends the process when there
/// is none. So when memory stays out, it is out for operator new.
bool ImportWatch::isRuntimeSpared(const ImportRow &row) const {
    return row.use == ImportUse::allocates && fault_.forGood;
}

void ImportWatch::learnAllocator() {
    const std::lock_guard guard(lock_);
    allocator_ = firstAllocator_;
}

const void *ImportWatch::allocator() const {
    const std::lock_guard guard(lock_);
    return allocator_;
}

void ImportWatch::setAllocator(const void *allocator) {
    const std::lock_guard guard(lock_);
    allocator_ = allocator;
}

std::string ImportWatch::kindOf(uint64_t handle) const {
    const auto found = handles_.find(handle);
    return found == handles_.end() ? "lock" : found->second; // made while the library was loaded
}

/// What a call is about, for the imports of which it makes a difference.
std::string ImportWatch::about(const ImportRow &row, const Words &words) const {
    if (is(row, "WaitForSingleObject") || is(row, "ReleaseMutex") || is(row, "CloseHandle"))
        return kindOf(words[0]);
    if (is(row, "CreateMutexA"))
        return words[2] == 0 ? "lock" : "log lock";
    if (is(row, "CreateFileA"))
        return static_cast<DWORD>(words[4]) == OPEN_ALWAYS ? "append" : "look";
    if (is(row, "RegOpenKeyExA"))
        return textAt(words[1]).ends_with("Logger") ? "Logger key" : "settings key";
    if (is(row, "RegQueryValueExA") || is(row, "GetProcAddress"))
        return textAt(words[1]);
    if (is(row, "LoadLibraryA"))
        return baseName(textAt(words[0]));
    return "";
}

void ImportWatch::account(const ImportRow &row, const Words &words, uint64_t result) {
    const auto take = [&](uint64_t handle, const char *kind) { handles_[handle] = kind; };
    if (is(row, "CreateMutexA") && result != 0)
        take(result, words[2] == 0 ? "lock" : "log lock");
    else if (is(row, "CreateEventA") && result != 0)
        take(result, "start event");
    else if (is(row, "CreateFileA") && result != everyBit)
        take(result, "log file");
    else if (is(row, "_beginthreadex") && result != 0)
        take(result, "thread");
    else if (is(row, "CloseHandle")) {
        handles_.erase(words[0]);
        if (const auto join = joins_.find(words[0]); join != joins_.end()) {
            CloseHandle(join->second);
            joins_.erase(join);
        }
    } else if (is(row, "RegOpenKeyExA") && static_cast<DWORD>(result) == 0)
        keys_.insert(*pointer<uint64_t>(words[4]));
    else if (is(row, "RegCloseKey"))
        keys_.erase(words[0]);
    else if (is(row, "LoadLibraryA") && result != 0)
        ++modules_[result];
    else if (is(row, "FreeLibrary")) {
        if (--modules_[words[0]] == 0)
            modules_.erase(words[0]);
    } else if (is(row, "AllocateAndInitializeSid") && static_cast<DWORD>(result) != 0)
        sids_.insert(*pointer<uint64_t>(words[10]));
    else if (is(row, "FreeSid"))
        sids_.erase(words[0]);
    else if (is(row, "malloc") && result != 0)
        blocks_[result] = words[0];
    else if (is(row, "calloc") && result != 0)
        blocks_[result] = words[0] * words[1];
    else if (is(row, "realloc") && result != 0) {
        blocks_.erase(words[0]);
        blocks_[result] = words[1];
    } else if (is(row, "free"))
        blocks_.erase(words[0]);
    else if (is(row, "InitializeCriticalSection"))
        sections_.insert(words[0]);
    else if (is(row, "DeleteCriticalSection"))
        sections_.erase(words[0]);
    else if (is(row, "EnterCriticalSection"))
        ++sectionsEntered_;
    else if (is(row, "LeaveCriticalSection"))
        --sectionsEntered_;
    else if (is(row, "WaitForSingleObject") && kindOf(words[0]).ends_with("lock") &&
             (static_cast<DWORD>(result) == WAIT_OBJECT_0 || static_cast<DWORD>(result) == WAIT_ABANDONED))
        ++mutexesHeld_;
    else if (is(row, "ReleaseMutex"))
        --mutexesHeld_;
}

/// Starts a thread that goes no further than its start signal until it is waited for: so starter and thread never run
/// at once, and the order of calls is the same each time.
uint64_t ImportWatch::startThread(size_t row, const Words &words) {
    auto *const record = new StartedThread{reinterpret_cast<unsigned(__stdcall *)(void *)>(words[2]),
                                           pointer<void>(words[3]), CreateEventA(nullptr, TRUE, FALSE, nullptr)};
    const HANDLE joined = record->joined;
    Words changed = words;
    changed[2] = reinterpret_cast<uintptr_t>(&ImportWatch::runThread);
    changed[3] = reinterpret_cast<uintptr_t>(record);
    const uint64_t thread = original(row, changed);
    const std::lock_guard guard(lock_);
    joins_[thread] = joined;
    return thread;
}

unsigned __stdcall ImportWatch::runThread(void *argument) {
    const StartedThread record = *static_cast<StartedThread *>(argument);
    delete static_cast<StartedThread *>(argument);
    {
        const std::lock_guard guard(active->lock_);
        ++active->threads_;
    }
    joinOfThisThread = record.joined;
    const unsigned result = record.procedure(record.argument);
    const std::lock_guard guard(active->lock_);
    --active->threads_;
    return result;
}

void ImportWatch::waitForJoin() {
    if (joinOfThisThread != nullptr)
        WaitForSingleObject(joinOfThisThread, 10000);
}

void ImportWatch::noteJoin(uint64_t thread) {
    const std::lock_guard guard(lock_);
    if (const auto join = joins_.find(thread); join != joins_.end())
        SetEvent(join->second);
}

} // namespace kal::test
