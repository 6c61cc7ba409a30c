// A program may load and free the library as often as it likes.

#include "tests/support/StagedLibrary.h"

#include <gtest/gtest.h>

using namespace kal::test;

namespace {

/// The slot of thread-local storage that would be given out next.
DWORD nextSlot() {
    const DWORD slot = TlsAlloc();
    TlsFree(slot);
    return slot;
}

} // namespace

TEST(Reload, TakesNoSlotOfThreadLocalStorageWithIt) {
    { const StagedLibrary first; }
    const DWORD before = nextSlot();
    for (int load = 0; load < 20; ++load) {
        const StagedLibrary again;
    }
    EXPECT_EQ(nextSlot(), before);
}
