// What unregistering.dll and the program that loads it agree on.
#pragma once

#include <windows.h>

namespace kal::test {

struct DetachReport {
    HANDLE begins;      ///< an event, set before the unregistration
    DWORD milliseconds; ///< how long the unregistration took
};

/// The only export of unregistering.dll: which report its end fills in.
using ReportTo = void(DetachReport *report);

constexpr int detachReturned = 10; ///< exit code of a process whose unregistration returned at once, at its end
constexpr int detachWaited = 11;   ///< of one whose unregistration waited
constexpr DWORD atOnce = 2500;     ///< milliseconds; half of what the library waits

} // namespace kal::test
