#pragma once

#include <windows.h>

namespace simulator {

/// If a recording is configured, redirects every entry point of this library to code that replays it, and removes those
/// that the recorded service lacked. Also pins the library, so that idle clients do not lose the position in the
/// recording.
/// @return whether a recording is configured
bool startReplay(HMODULE module);

} // namespace simulator
