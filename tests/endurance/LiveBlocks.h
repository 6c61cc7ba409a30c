// What kalclient.dll has taken from the heap and not given back, counted at its import table.
#pragma once

#include "tests/support/ImportHook.h"

#include <atomic>
#include <cstdint>

namespace kal::test {

class LiveBlocks {
  public:
    LiveBlocks()
        : malloc_(GetModuleHandleA("kalclient.dll"),
                  [this](size_t size) {
                      ++count_;
                      return malloc_.original(size);
                  }),
          calloc_(GetModuleHandleA("kalclient.dll"),
                  [this](size_t count, size_t size) {
                      ++count_;
                      return calloc_.original(count, size);
                  }),
          free_(GetModuleHandleA("kalclient.dll"), [this](void *block) {
              if (block != nullptr)
                  --count_;
              free_.original(block);
          }) {}

    /// Since this object was made; negative when more was given back than taken since.
    int64_t count() const { return count_; }

  private:
    std::atomic<int64_t> count_ = 0;
    ImportHook<"malloc", void *(size_t)> malloc_;
    ImportHook<"calloc", void *(size_t, size_t)> calloc_;
    ImportHook<"free", void(void *)> free_;
};

} // namespace kal::test
