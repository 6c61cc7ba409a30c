#include "bench/ImportCounter.h"

#include "tests/support/ImportTable.h"

#include <cstddef>
#include <cstring>
#include <stdexcept>

namespace bench {

using kal::test::Import;
using kal::test::ImportTable;

/// A counter, the function behind it, and code that raises the one and jumps to the other.
struct ImportCounter::Thunk {
    uint64_t calls;
    void *function;
    uint8_t code[16];
};

namespace {

constexpr size_t mostThunks = 1024;

// lock inc qword [rip-24] (the counter); jmp qword [rip-22] (the function)
constexpr uint8_t countAndJump[] = {0xF0, 0x48, 0xFF, 0x05, 0xE8, 0xFF, 0xFF, 0xFF, 0xFF, 0x25, 0xEA, 0xFF, 0xFF, 0xFF};

bool isCode(const void *address) {
    MEMORY_BASIC_INFORMATION information;
    return VirtualQuery(address, &information, sizeof information) != 0 && (information.Protect & 0xF0) != 0;
}

} // namespace

ImportCounter::ImportCounter(HMODULE module) {
    static_assert(offsetof(Thunk, calls) == 0 && offsetof(Thunk, function) == 8 && offsetof(Thunk, code) == 16);
    thunks_ = static_cast<Thunk *>(
        VirtualAlloc(nullptr, mostThunks * sizeof(Thunk), MEM_COMMIT | MEM_RESERVE, PAGE_EXECUTE_READWRITE));
    if (thunks_ == nullptr) {
        throw std::runtime_error("no memory for the import counters");
    }
    const ImportTable imports(module);
    imports.eachFunction([&](const Import &import) {
        imports.resolve(import);
        if (!isCode(*import.slot)) {
            return;
        }
        if (count_ == mostThunks) {
            throw std::runtime_error("more imports than counters");
        }
        Thunk &thunk = thunks_[count_];
        thunk.function = *import.slot;
        std::memcpy(thunk.code, countAndJump, sizeof countAndJump);
        thunkOfName_[import.name] = count_;
        originals_[import.slot] = *import.slot;
        ImportTable::write(import.slot, thunk.code);
        ++count_;
    });
}

ImportCounter::~ImportCounter() {
    for (const auto &[slot, original] : originals_) {
        ImportTable::write(slot, original);
    }
    // The counters stay: a thread may still be on its way through one.
}

ImportCounter::Counts ImportCounter::counts() const {
    Counts counts;
    for (const auto &[name, index] : thunkOfName_) {
        counts[name] = thunks_[index].calls;
    }
    return counts;
}

ImportCounter::Counts ImportCounter::since(const Counts &before) const {
    Counts difference;
    for (const auto &[name, calls] : counts()) {
        const auto earlier = before.find(name);
        const uint64_t calledSince = calls - (earlier == before.end() ? 0 : earlier->second);
        if (calledSince != 0) {
            difference[name] = calledSince;
        }
    }
    return difference;
}

} // namespace bench
