/// Stands between the service and the client's functions that the service calls back.
#pragma once

#include "comc/EntryPoints.h"
#include "spy/RecorderInterface.h"

#include <cstdint>

namespace spy {

/// A client's function and the number by which the recording knows it.
struct RelayedCallback {
    AnyFunction *relay = nullptr; ///< to be handed to the service instead; null when there is none for it
    uint32_t number = 0;          ///< from 1; 0 when there is no relay
};

/// The relay of a function, the same one whenever it is asked for. There is none for what is no function, and for more
/// functions than the recorder has room for: those are handed to the service as they are.
[[nodiscard]] RelayedCallback relayFor(uint64_t function, comc::ArgumentKind kind) noexcept;

/// What a relay does; the recorder's own. @param function  the client's, with the words that the service handed over
uint64_t relayCallback(uint32_t number, comc::ArgumentKind kind, AnyFunction *function,
                       const uint64_t (&words)[comc::mostWords]);

} // namespace spy
