/// Replaces the client's callbacks with functions that record and forward.
#pragma once

#include "comc/EntryPoints.h"
#include "spy/RecorderInterface.h"

#include <cstdint>

namespace spy {

/// A replacement for one of the client's functions, and the function's number in the recording.
struct RelayedCallback {
    AnyFunction *relay = nullptr; ///< to be passed to the service instead; null: pass the function itself
    uint32_t number = 0;          ///< from 1; 0 without a relay
};

/// The relay of a function; always the same one for the same function and kind. Addresses that are not executable have
/// none, and neither do functions after the first 256. The service receives those unchanged.
[[nodiscard]] RelayedCallback relayFor(uint64_t function, comc::ArgumentKind kind) noexcept;

/// Records a callback and calls the client's function. Each relay calls this; Recorder.cpp defines it.
uint64_t relayCallback(uint32_t number, comc::ArgumentKind kind, AnyFunction *function,
                       const uint64_t (&arguments)[comc::mostWords]);

} // namespace spy
