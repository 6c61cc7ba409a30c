// Every import that the shipped library calls while it is being loaded or unloaded fails in turn, once and for good.
// The loader tells of a library when its import table is filled and before any of its code runs: then the watch steps
// in.

#include "tests/faults/FaultBench.h"
#include "tests/faults/Watchdog.h"

#include "api/kal.h"
#include "platform/Exception.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <set>
#include <utility>

#include <winternl.h>

namespace kal::test {

namespace {

constexpr char loadedName[] = "kaload.dll";
constexpr char brandCode[] = "kalo";

/// As the loader's notification gives it.
struct LoadedModule {
    ULONG flags;
    const UNICODE_STRING *fullName;
    const UNICODE_STRING *baseName;
    void *base;
    ULONG size;
};
using Notify = void CALLBACK(ULONG, const LoadedModule *, void *);

/// A load of the library with a fault in it, and the end of what came of it.
class FaultyLoad {
  public:
    /// @param allocator where operator new allocates, counted from the library's beginning; 0 when that is not known
    explicit FaultyLoad(const Fault &fault, size_t allocator = 0) : fault_(fault), allocator_(allocator) {
        const HMODULE loader = GetModuleHandleA("ntdll.dll");
        exported<LONG NTAPI(ULONG, Notify *, void *, void **)>(loader, "LdrRegisterDllNotification")(0, notify, this,
                                                                                                     &cookie_);
        std::filesystem::copy_file(programFolder() / "kalclient.dll", folder_ / loadedName);
        module_ = LoadLibraryA((folder_ / loadedName).string().c_str());
        if (watch_)
            watch_->end();
    }
    ~FaultyLoad() {
        unload();
        exported<LONG NTAPI(void *)>(GetModuleHandleA("ntdll.dll"), "LdrUnregisterDllNotification")(cookie_);
    }

    FaultyLoad(const FaultyLoad &) = delete;
    FaultyLoad &operator=(const FaultyLoad &) = delete;

    void unload(const Fault &fault = {}) {
        if (module_ == nullptr)
            return;
        if (watch_)
            watch_->begin(fault);
        FreeLibrary(std::exchange(module_, nullptr));
        if (watch_)
            watch_->end();
    }

    HMODULE module() const { return module_; }
    bool isWatched() const { return watch_ != nullptr; }
    ImportWatch &watch() const { return *watch_; }

  private:
    static void CALLBACK notify(ULONG reason, const LoadedModule *loaded, void *context) {
        auto &load = *static_cast<FaultyLoad *>(context);
        const std::wstring name(loaded->baseName->Buffer, loaded->baseName->Length / sizeof(wchar_t));
        if (name != std::wstring(std::begin(loadedName), std::end(loadedName) - 1))
            return;
        if (reason == 1) {
            load.watch_ = std::make_unique<ImportWatch>(static_cast<HMODULE>(loaded->base));
            if (load.allocator_ != 0)
                load.watch_->setAllocator(static_cast<const char *>(loaded->base) + load.allocator_);
            load.watch_->begin(load.fault_);
        } else {
            load.watch_->forgetModule();
        }
    }

    Fault fault_;
    size_t allocator_;
    TemporaryFolder folder_;
    std::unique_ptr<ImportWatch> watch_;
    void *cookie_ = nullptr;
    HMODULE module_ = nullptr;
};

constexpr char registered[] = "registered, logged";
constexpr char unregistered[] = "unregistered";
constexpr char unnamed[] = "registered"; // without a brand there are no settings of this library's, and no log
// Without a localisation a registration raises this text; Initialize makes one.
constexpr char unlocalised[] = "You must call Localize::createInstance() before calling getInstance()";
constexpr char later[] = "unlocalised; initialized: registered, logged";

/// What is promised when a call fails while the library is being loaded: it is loaded in any case.
struct LoadPromise {
    const char *import;
    int nth; ///< 0: any
    const char *aftermath;
};
constexpr LoadPromise loadPromises[] = {
    {"CreateMutexA", 0, later},         // the lock under which the localisation is made
    {"GetModuleFileNameA", 0, later},   //
    {"WaitForSingleObject", 0, later},  //
    {"ReleaseMutex", 0, registered},    //
    {"lstrcpynA", 0, unnamed},          //
    {"GetVersionExA", 0, unregistered}, // nothing that is secured can be made
    {"FlsAlloc", 0, registered},        // for the compiler's runtime, which tries again at its first exception
};

/// For good: the first call that fails may decide more than the others.
const char *promiseOf(const Fault &fault) {
    for (const LoadPromise &promise : loadPromises)
        if (fault.import == promise.import && (promise.nth == 0 || promise.nth == fault.nth))
            return promise.aftermath;
    return "nothing is promised";
}

/// Registers, looks whether that is so and whether it is logged, and unregisters.
std::string registration(const FaultyLoad &load, PrivateMachine &machine) {
    const HMODULE module = load.module();
    try {
        exported<decltype(KalRegisterApp)>(module, "KalRegisterApp")(0);
    } catch (const char *text) {
        return std::string(text) == unlocalised ? "unlocalised" : text;
    }
    std::string outcome = registered;
    try {
        exported<decltype(KalFlushMWOBuffer)>(module, "KalFlushMWOBuffer")();
    } catch (const Win32Exception &) {
        return unregistered;
    }
    exported<decltype(KalUnregisterApp)>(module, "KalUnregisterApp")(0);
    if (machine.logTexts(brandCode).empty())
        outcome = unnamed;
    machine.deleteLog(brandCode);
    return outcome;
}

/// What an application can do with what was loaded. Raises an exception at the end, for which the compiler's run time
/// takes what it keeps until the library is unloaded, and some of it beyond.
std::string aftermath(const FaultyLoad &load, PrivateMachine &machine) {
    if (load.module() == nullptr)
        return "refused";
    std::string outcome = registration(load, machine);
    if (outcome == "unlocalised") {
        exported<decltype(Initialize)>(load.module(), "Initialize")();
        outcome += "; initialized: " + registration(load, machine);
    }
    try {
        exported<decltype(KalFlushMWOBuffer)>(load.module(), "KalFlushMWOBuffer")();
        outcome += "; and still registered";
    } catch (const Win32Exception &) {
    }
    return outcome;
}

/// Whether the loader's lock is free: a thread that starts and one that ends need it.
bool isLoaderFree() {
    const HANDLE thread = CreateThread(
        nullptr, 0, [](void *) -> DWORD { return 0; }, nullptr, 0, nullptr);
    const bool hasEnded = WaitForSingleObject(thread, 10000) == WAIT_OBJECT_0;
    CloseHandle(thread);
    return hasEnded;
}

bool isNoMore(const Holdings &left, const Holdings &most) {
    return std::ranges::all_of(left.counts, [&](const auto &each) {
        const auto found = most.counts.find(each.first);
        return found != most.counts.end() && each.second <= found->second;
    });
}

class Loading : public testing::Test {
  protected:
    Loading() {
        machine_.setLogger("startLog", 1, brandCode);
        FaultyLoad load({});
        isWatched_ = load.isWatched();
        if (!isWatched_)
            return;
        calls_ = load.watch().calls();
        learnAllocator(load);
        EXPECT_EQ(aftermath(load, machine_), registered);
        load.unload();
        leftOver_ = load.watch().holdings();
        callsOfUnloading_ = load.watch().calls();
        EXPECT_THAT(load.watch().unexpected(), testing::IsEmpty());
    }
    ~Loading() override {
        tryingNothing();
        std::printf("tried %s: %d, failed: %d\n", what_, tried_, failed_);
    }

    void learnAllocator(const FaultyLoad &load) {
        load.watch().begin({});
        exported<decltype(KalRegisterApp)>(load.module(), "KalRegisterApp")(0); // makes a logger first of all
        load.watch().end();
        load.watch().learnAllocator();
        exported<decltype(KalUnregisterApp)>(load.module(), "KalUnregisterApp")(0);
        machine_.deleteLog(brandCode);
        allocator_ = load.watch().allocator();
        allocatorOffset_ =
            static_cast<size_t>(static_cast<const char *>(allocator_) - reinterpret_cast<const char *>(load.module()));
    }

    static std::set<std::string> importsOf(const std::vector<ImportWatch::Call> &calls) {
        std::set<std::string> imports;
        for (const ImportWatch::Call &call : calls)
            if (call.import != Fault::memory)
                imports.insert(call.import);
        return imports;
    }

    /// Unloads, with or without a fault. @return what is wrong then; empty when nothing is
    std::string unloaded(FaultyLoad &load, const Fault &fault = {}) const {
        load.unload(fault);
        std::string complaint;
        if (const Holdings leftOver = load.watch().holdings(); !isNoMore(leftOver, leftOver_))
            complaint += "; left over: " + leftOver.text() + " instead of " + leftOver_.text();
        if (!importsOf(load.watch().calls()).contains("FlsFree"))
            complaint += "; no fiber-local slot was taken, or it was not freed";
        for (const std::string &import : load.watch().unexpected())
            complaint += "; unexpectedly called: " + import;
        if (GetModuleHandleA(loadedName) != nullptr)
            complaint += "; the library is still there";
        if (!isLoaderFree())
            complaint += "; the loader is not free";
        return complaint;
    }

    void count(bool isKept) {
        ++tried_;
        failed_ += isKept ? 0 : 1;
    }

    /// Fails the nth call, n rising until there is none. @return the aftermaths
    std::vector<std::string> sweep(const std::string &import, bool forGood,
                                   const std::function<bool(const Fault &, const std::string &)> &isPromised) {
        std::vector<std::string> all;
        for (int nth = 1;; ++nth) {
            const Fault fault = {import, nth, forGood};
            if (import == Fault::memory && endsTheProcess(fault))
                continue;
            nowTrying("loading: " + import + " fails at call " + std::to_string(nth) + (forGood ? " for good" : ""));
            FaultyLoad load(fault, allocatorOffset_);
            if (!load.watch().hasFailed())
                return all;
            all.push_back(aftermath(load, machine_));
            const std::string complaint = unloaded(load);
            const bool isKept = isPromised(fault, all.back()) && complaint.empty();
            count(isKept);
            EXPECT_TRUE(isKept) << import << " fails at call " << nth << (forGood ? " for good: " : " once: ")
                                << all.back() << complaint;
        }
    }

    /// The same while being unloaded. @return how often one failed
    int sweepUnloading(const std::string &import, bool forGood) {
        for (int nth = 1;; ++nth) {
            nowTrying("unloading: " + import + " fails at call " + std::to_string(nth) + (forGood ? " for good" : ""));
            FaultyLoad load({});
            EXPECT_EQ(aftermath(load, machine_), registered);
            const std::string complaint = unloaded(load, {import, nth, forGood});
            if (!load.watch().hasFailed())
                return nth - 1;
            count(complaint.empty());
            EXPECT_EQ(complaint, "") << import << " fails at call " << nth << (forGood ? " for good" : " once");
        }
    }

    /// Whether memory is missing for the name of a component of the log. It is allocated by a static constructor, so
    /// before the lock under which the localisation is made: an exception leaves the static construction there and ends
    /// the process, as an exception there does.
    bool endsTheProcess(const Fault &fault) const {
        int memory = 0;
        for (const ImportWatch::Call &call : calls_) {
            if (call.import == "CreateMutexA")
                return false;
            const bool isByLibrary = call.caller == allocator_;
            memory += call.import == Fault::memory && (!fault.forGood || isByLibrary) ? 1 : 0;
            if (memory == fault.nth)
                return isByLibrary;
        }
        return false;
    }

    PrivateMachine machine_;
    bool isWatched_ = false;
    std::vector<ImportWatch::Call> calls_;
    std::vector<ImportWatch::Call> callsOfUnloading_;
    const void *allocator_ = nullptr; ///< where operator new allocated, in the load of calls_
    size_t allocatorOffset_ = 0;
    Holdings leftOver_;
    const char *what_ = "failing imports while being loaded";
    int tried_ = 0;
    int failed_ = 0;
};

/// Windows tells before it fills the import table, Wine behind it: only there the watch sees the calls.
#define KAL_NEEDS_WATCH()                                                                                              \
    if (calls_.empty() && GetProcAddress(GetModuleHandleA("ntdll.dll"), "wine_get_version") == nullptr)                \
        GTEST_SKIP() << "this loader fills the import table behind its notification";                                  \
    ASSERT_FALSE(calls_.empty())

TEST_F(Loading, EachImportThatItCallsFails) {
    KAL_NEEDS_WATCH();
    const auto isPromised = [](const Fault &fault, const std::string &seen) { return seen == promiseOf(fault); };
    const std::set<std::string> imports = importsOf(calls_);
    for (const LoadPromise &promise : loadPromises)
        EXPECT_EQ(imports.count(promise.import), 1u) << promise.import << " is not called";
    for (const std::string &import : imports)
        for (const bool forGood : {false, true})
            EXPECT_FALSE(sweep(import, forGood, isPromised).empty()) << import;
}

TEST_F(Loading, EachImportThatItCallsAtItsEndFails) {
    what_ = "failing imports while being unloaded";
    KAL_NEEDS_WATCH();
    ASSERT_FALSE(callsOfUnloading_.empty());
    for (const std::string &import : importsOf(callsOfUnloading_))
        for (const bool forGood : {false, true})
            EXPECT_GT(sweepUnloading(import, forGood), 0) << import;
}

TEST_F(Loading, MemoryRunsOut) {
    what_ = "out of memory while being loaded";
    KAL_NEEDS_WATCH();
    for (const bool forGood : {false, true}) {
        const auto seen = sweep(Fault::memory, forGood, [](const Fault &, const std::string &aftermath) {
            return aftermath == registered || aftermath == later;
        });
        EXPECT_THAT(seen, testing::Contains(later));
    }
}

} // namespace

} // namespace kal::test
