#pragma once

#include <windows.h>

namespace simulator {

/// If a recording is configured: redirects every entry point of this library to code that replays it, removes those
/// that the recorded service lacked, and pins the library. The position in the recording is thus kept while clients are
/// idle.
/// @return whether a recording is configured
bool startReplay(HMODULE module);

} // namespace simulator
