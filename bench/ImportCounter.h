#pragma once

#include <windows.h>

#include <cstdint>
#include <map>
#include <string>

namespace bench {

/// Counts every call that a loaded module makes through its import table, whichever function and whichever thread:
/// exact and the same from run to run. Puts the table back at its end.
class ImportCounter {
  public:
    explicit ImportCounter(HMODULE module);
    ImportCounter(const ImportCounter &) = delete;
    ImportCounter &operator=(const ImportCounter &) = delete;
    ~ImportCounter();

    /// Calls so far, by function name.
    using Counts = std::map<std::string, uint64_t>;
    [[nodiscard]] Counts counts() const;

    /// What came since, without the functions that were not called.
    [[nodiscard]] Counts since(const Counts &before) const;

  private:
    struct Thunk;

    Thunk *thunks_;
    size_t count_ = 0;
    std::map<std::string, size_t> thunkOfName_;
    std::map<void **, void *> originals_;
};

} // namespace bench
