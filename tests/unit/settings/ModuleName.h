// The file name of every module, as this test program is told it.
#pragma once

#include "tests/support/ImportHook.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace kal::test {

inline const HMODULE someModule = reinterpret_cast<HMODULE>(0x10000);

class ModuleName {
  public:
    /// @param name          what GetModuleFileNameA answers; empty: it fails
    /// @param answeredCalls calls that are answered before it fails; all when negative
    explicit ModuleName(std::string name, int answeredCalls = -1)
        : name_(std::move(name)),
          hook_(GetModuleHandleA(nullptr), [this, answeredCalls](HMODULE module, LPSTR buffer, DWORD size) -> DWORD {
              module_ = module;
              size_ = size;
              if (name_.empty() || (answeredCalls >= 0 && hook_.calls() > answeredCalls)) {
                  SetLastError(ERROR_INVALID_HANDLE);
                  return 0;
              }
              const DWORD length = std::min(size, static_cast<DWORD>(name_.size()));
              std::memcpy(buffer, name_.data(), length);
              if (length < size)
                  buffer[length] = 0;
              return length;
          }) {}

    HMODULE module() const { return module_; }
    DWORD bufferSize() const { return size_; }
    int calls() const { return hook_.calls(); }

  private:
    std::string name_;
    HMODULE module_ = nullptr;
    DWORD size_ = 0;
    ImportHook<"GetModuleFileNameA", DWORD(HMODULE, LPSTR, DWORD)> hook_;
};

} // namespace kal::test
