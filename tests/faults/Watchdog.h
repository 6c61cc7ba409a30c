// Ends the program, and says during what, when it crashes or gets no further.
#pragma once

#include <string>

namespace kal::test {

/// Tells the watchdog what is tried now; it has to be told again within half a minute, while anything is tried.
void nowTrying(const std::string &what);
/// Nothing is tried for the time being.
void tryingNothing();

} // namespace kal::test
