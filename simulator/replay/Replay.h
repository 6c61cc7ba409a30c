#pragma once

#include <windows.h>

namespace simulator {

/// When a recording is configured as the simulator's behaviour: lets every entry point of this library lead to what
/// answers from the recording, and takes out those that the recorded service lacked. The library then stays loaded: how
/// far the recording is played outlives the client's idle moments.
/// @return whether that is so
bool startReplay(HMODULE module);

} // namespace simulator
