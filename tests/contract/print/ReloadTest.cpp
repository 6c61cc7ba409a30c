// A program may load and free the library any number of times. tests/reload counts memory and handles.

#include "api/kal.h"
#include "tests/support/ImportHook.h"
#include "tests/support/StagedLibrary.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

using namespace kal::test;
using testing::ElementsAre;

namespace {

/// The slot of fiber-local storage that the next FlsAlloc would return.
DWORD nextSlot() {
    const DWORD slot = FlsAlloc(nullptr);
    FlsFree(slot);
    return slot;
}

/// What the library called while it was being freed.
std::vector<std::string> callsAtTheEnd;

void WINAPI deleteSection(CRITICAL_SECTION *section) {
    callsAtTheEnd.emplace_back("DeleteCriticalSection");
    DeleteCriticalSection(section);
}

BOOL WINAPI freeSlot(DWORD slot) {
    callsAtTheEnd.emplace_back("FlsFree");
    return FlsFree(slot);
}

} // namespace

// The destructors of static objects may still need it.
TEST(Reload, SlotOfFiberLocalStorageIsFreedAfterEveryStaticObjectIsDestroyed) {
    std::optional<StagedLibrary> library(std::in_place);
    EXPECT_ANY_THROW(library->function<decltype(KalClose)>("KalClose")(0, 5)); // takes the slot
    // No hook that is restored at its end: by then the library is gone.
    writeImport(findImport(library->module(), "DeleteCriticalSection"), reinterpret_cast<void *>(&deleteSection));
    writeImport(findImport(library->module(), "FlsFree"), reinterpret_cast<void *>(&freeSlot));
    callsAtTheEnd.clear();
    library.reset();
    EXPECT_THAT(callsAtTheEnd, testing::Contains("DeleteCriticalSection"));
    EXPECT_THAT(callsAtTheEnd, testing::Contains("FlsFree").Times(1));
    EXPECT_EQ(callsAtTheEnd.back(), "FlsFree");
}

TEST(Reload, TakesNoSlotOfFiberLocalStorageWithIt) {
    { const StagedLibrary first; }
    const DWORD before = nextSlot();
    for (int load = 0; load < 20; ++load) {
        const StagedLibrary again;
    }
    EXPECT_EQ(nextSlot(), before);
}

// An exception is what needs a slot.
TEST(Reload, TakesNoSlotWithItThatAnExceptionNeeded) {
    { const StagedLibrary first; }
    const DWORD before = nextSlot();
    for (int load = 0; load < 20; ++load) {
        const StagedLibrary again;
        EXPECT_ANY_THROW(again.function<decltype(KalClose)>("KalClose")(0, 5)); // nobody is registered
    }
    EXPECT_EQ(nextSlot(), before);
}

TEST(Reload, WritesIntoNoSlotButTheOneItTook) {
    { const StagedLibrary first; }
    const DWORD next = nextSlot();
    const StagedLibrary library;
    std::set<DWORD> written;
    const ImportHook<"FlsSetValue", BOOL(DWORD, void *)> write(library.module(), [&](DWORD slot, void *value) {
        written.insert(slot);
        return write.original(slot, value);
    });
    EXPECT_ANY_THROW(library.function<decltype(KalClose)>("KalClose")(0, 5));
    EXPECT_THAT(written, ElementsAre(next));
}
