// Stands between a loaded module and everything that it imports: fails one call, notes what the calls were about, and
// keeps account of what was taken and given back.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include <windows.h>

namespace kal::test {

/// How an import is dealt with; the lines of Imports.inc.
enum class ImportUse { fails, letsGo, allocates, watched, unreached, notFailed, runtime };

struct ImportRow {
    const char *name;
    ImportUse use;
    uint64_t failure;
    DWORD lastError;
    const char *unitTest;         ///< "Suite.Name" of the one that fails it instead; null unless no scenario reaches it
    const char *behind = nullptr; ///< the import that fails with it, since nothing calls it otherwise; null for most
};

/// The table: every import of the library.
const std::vector<ImportRow> &importTable();

/// What the import's row says of the one behind whose failure it is called; empty for most.
std::string failsBehind(const std::string &import);

/// Which call fails: of one import, or of all that allocate.
struct Fault {
    static constexpr const char *memory = "memory";

    std::string import; ///< empty: none fails
    int nth = 0;        ///< counted from 1
    bool forGood = false;
};

/// What is in the library's hands.
struct Holdings {
    std::map<std::string, int> counts; ///< by kind; no entry where nothing is held

    bool operator==(const Holdings &) const = default;
    std::string text() const;
};

class ImportWatch {
  public:
    /// Watches a module from now on. One at a time.
    explicit ImportWatch(HMODULE module);
    ~ImportWatch();
    ImportWatch(const ImportWatch &) = delete;
    ImportWatch &operator=(const ImportWatch &) = delete;

    /// The module has been unloaded: there is no import table to put back.
    void forgetModule();

    struct Call {
        std::string import;
        std::string what;             ///< "append#2": what it is about, and the how-manieth of its kind
        const void *caller = nullptr; ///< where it returns to
    };

    /// Calls are noted, and the one of the fault fails, between these two.
    void begin(const Fault &fault);
    void end();
    /// The first allocation between begin and end was one by operator new.
    void learnAllocator();
    /// Where operator new allocates; null as long as nobody has told.
    const void *allocator() const;
    void setAllocator(const void *allocator);
    /// The calls of imports that can fail, in order, and the allocations under Fault::memory.
    std::vector<Call> calls() const;
    bool hasFailed() const { return hasFailed_; }
    /// Imports that no scenario may reach, but one has.
    std::set<std::string> unexpected() const;
    /// Imports that can be made to fail, but have not been by any watch of this process.
    static std::set<std::string> neverFailed();

    Holdings holdings() const;

    /// The clock that the library sees; it also moves on with each look at it.
    void turnClock(DWORD milliseconds) { tick_ += milliseconds; }

    static constexpr size_t mostArguments = 11;
    using Words = std::array<uint64_t, mostArguments>;
    static void freedByProgram(void *block);
    static uint64_t entered(size_t row, const Words &words, const void *caller);

  private:
    struct StartedThread;

    uint64_t handle(size_t row, const Words &words, const void *caller);
    bool isToFail(const ImportRow &row, const void *caller);
    bool isRuntimeSpared(const ImportRow &row) const;
    std::string about(const ImportRow &row, const Words &words) const;
    std::string kindOf(uint64_t handle) const;
    void account(const ImportRow &row, const Words &words, uint64_t result);
    uint64_t startThread(size_t row, const Words &words);
    static unsigned __stdcall runThread(void *record);
    void waitForJoin();
    void noteJoin(uint64_t thread);
    uint64_t original(size_t row, const Words &words) const;

    static ImportWatch *active;

    HMODULE module_;
    std::vector<void **> places_;     ///< by row; null where nothing is watched
    std::vector<uint64_t> originals_; ///< by row

    mutable std::recursive_mutex lock_; ///< all below
    bool isNoting_ = false;
    bool hasFailed_ = false;
    Fault fault_;
    std::string inTheWay_;                 ///< the import that fails with the fault's
    const void *firstAllocator_ = nullptr; ///< where the library first asked for memory since begin
    const void *allocator_ = nullptr;      ///< where operator new does
    int failable_ = 0;                     ///< calls so far of what the fault is about
    std::vector<Call> calls_;
    std::map<std::string, int> ordinals_;
    std::set<std::string> unexpected_;
    std::map<uint64_t, std::string> handles_; ///< kind by handle
    std::map<uint64_t, size_t> blocks_;
    std::map<uint64_t, int> modules_;
    std::set<uint64_t> keys_;
    std::set<uint64_t> sids_;
    std::set<uint64_t> sections_;
    int sectionsEntered_ = 0;
    int mutexesHeld_ = 0;
    int threads_ = 0;
    std::map<uint64_t, HANDLE> joins_; ///< by thread handle: set once the thread is waited for
    std::atomic<DWORD> tick_ = 1000000;
};

} // namespace kal::test
