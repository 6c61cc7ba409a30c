#pragma once

#include "tests/support/ImportHook.h"

#include <cstdint>

namespace kal::test {

/// While it lives, the library gets no new thread: error 8.
class NoWorkerThread {
  private:
    using Procedure = unsigned (*)(void *);
    ImportHook<"_beginthreadex", uintptr_t(void *, unsigned, Procedure, void *, unsigned, unsigned *)> hook_{
        GetModuleHandleA("kalclient.dll"), [](void *, unsigned, Procedure, void *, unsigned, unsigned *) {
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return UINTPTR_MAX; // the only value that counts as failure
        }};
};

} // namespace kal::test
