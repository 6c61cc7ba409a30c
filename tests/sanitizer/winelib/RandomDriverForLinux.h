// Included before the sources of the random driver (tests/endurance) in a Winelib build.
#pragma once

#include "LinuxHeaders.h"
#include "SupportForLinux.h"

#pragma push_macro("_WIN32")
#undef _WIN32
#include <CLI/CLI.hpp>
#include <condition_variable>
#pragma pop_macro("_WIN32")

#include "tests/support/ImportHook.h"

#include <process.h>

// Here the library takes memory and threads from Linux, so three of the functions that the driver hooks are not in the
// import table.
namespace kal::test {

/// Blocks are not counted: leaks are the sanitizer's business.
template <class Signature>
class UnhookedMemory;

template <class Result, class... Arguments>
class UnhookedMemory<Result(Arguments...)> {
  public:
    UnhookedMemory(HMODULE, const std::function<Result(Arguments...)> &) {}
    [[noreturn]] Result original(Arguments...) const { throw std::logic_error("is not hooked"); }
};

template <>
class ImportHook<"malloc", void *(size_t)> : public UnhookedMemory<void *(size_t)> {
    using UnhookedMemory::UnhookedMemory;
};

template <>
class ImportHook<"calloc", void *(size_t, size_t)> : public UnhookedMemory<void *(size_t, size_t)> {
    using UnhookedMemory::UnhookedMemory;
};

template <>
class ImportHook<"free", void(void *)> {
  public:
    ImportHook(HMODULE, const std::function<void(void *)> &) {}
    void original(void *) const {}
};

/// The start of a thread as the stand-in in process.h makes it.
template <>
class ImportHook<"_beginthreadex",
                 uintptr_t(void *, unsigned, unsigned(__stdcall *)(void *), void *, unsigned, unsigned *)> {
  public:
    using Start = unsigned(__stdcall *)(void *);
    using Replacement = std::function<uintptr_t(void *, unsigned, Start, void *, unsigned, unsigned *)>;

    ImportHook(HMODULE module, Replacement replacement)
        : hook_(module, [replacement](SECURITY_ATTRIBUTES *security, SIZE_T stackSize, LPTHREAD_START_ROUTINE start,
                                      void *argument, DWORD flags, DWORD *id) {
              return reinterpret_cast<HANDLE>(replacement(security, static_cast<unsigned>(stackSize),
                                                          reinterpret_cast<Start>(reinterpret_cast<void *>(start)),
                                                          argument, flags, id));
          }) {}

    uintptr_t original(void *security, unsigned stackSize, Start start, void *argument, unsigned flags,
                       unsigned *id) const {
        return reinterpret_cast<uintptr_t>(hook_.original(
            static_cast<SECURITY_ATTRIBUTES *>(security), stackSize,
            reinterpret_cast<LPTHREAD_START_ROUTINE>(reinterpret_cast<void *>(start)), argument, flags, id));
    }

  private:
    ImportHook<"CreateThread", HANDLE(SECURITY_ATTRIBUTES *, SIZE_T, LPTHREAD_START_ROUTINE, void *, DWORD, DWORD *)>
        hook_;
};

} // namespace kal::test
