// A system call of this test program that fails.
#pragma once

#include "tests/support/ImportHook.h"

namespace kal::test {

template <ImportName Name, typename Signature>
class FailingCall;

/// FailingCall<"SetEvent", BOOL(HANDLE)> failure(FALSE, ERROR_ACCESS_DENIED): from the given call on (the first, unless
/// told otherwise) the call answers the result and sets the last error.
template <ImportName Name, typename Result, typename... Arguments>
class FailingCall<Name, Result(Arguments...)> {
  public:
    FailingCall(Result result, DWORD lastError, int firstFailing = 1)
        : hook_(GetModuleHandleA(nullptr), [this, result, lastError, firstFailing](Arguments... arguments) -> Result {
              if (hook_.calls() < firstFailing)
                  return hook_.original(arguments...);
              SetLastError(lastError);
              return result;
          }) {}

    int calls() const { return hook_.calls(); }

  private:
    ImportHook<Name, Result(Arguments...)> hook_;
};

/// Counts a system call of this test program and lets it through.
template <ImportName Name, typename Signature>
class CountedCall;

template <ImportName Name, typename Result, typename... Arguments>
class CountedCall<Name, Result(Arguments...)> {
  public:
    CountedCall()
        : hook_(GetModuleHandleA(nullptr), [this](Arguments... arguments) { return hook_.original(arguments...); }) {}

    int calls() const { return hook_.calls(); }

  private:
    ImportHook<Name, Result(Arguments...)> hook_;
};

using FailingWait = FailingCall<"WaitForSingleObject", DWORD(HANDLE, DWORD)>;

} // namespace kal::test
