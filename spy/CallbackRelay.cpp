#include "spy/CallbackRelay.h"

#include "recording/ProcessCapture.h"

#include <array>
#include <cstddef>
#include <utility>

namespace spy {

namespace {

/// A client has one function per kind. Tests load several copies of the library and so need more.
constexpr size_t mostRelays = 256;

struct Relayed {
    AnyFunction *function;
    comc::ArgumentKind kind;
};

// Each element is written once, before its relay is returned, and stays valid: a service may call late.
Relayed relayed[mostRelays];
size_t relayedCount = 0;
SRWLOCK lock = SRWLOCK_INIT; // guards writing to both

template <size_t Index>
uint64_t relay(uint64_t a0, uint64_t a1, uint64_t a2, uint64_t a3, uint64_t a4, uint64_t a5, uint64_t a6, uint64_t a7) {
    const auto &target = relayed[Index];
    return relayCallback(static_cast<uint32_t>(Index + 1), target.kind, target.function,
                         {a0, a1, a2, a3, a4, a5, a6, a7});
}

template <size_t... Indices>
constexpr std::array<AnyFunction *, sizeof...(Indices)> allRelays(std::index_sequence<Indices...>) {
    return {&relay<Indices>...};
}

constexpr auto relays = allRelays(std::make_index_sequence<mostRelays>());

} // namespace

RelayedCallback relayFor(uint64_t function, comc::ArgumentKind kind) noexcept {
    const auto address = static_cast<uintptr_t>(function);
    if (!recording::isExecutable(reinterpret_cast<const void *>(address))) {
        return {};
    }
    const Relayed wanted{reinterpret_cast<AnyFunction *>(address), kind};
    RelayedCallback found;
    AcquireSRWLockExclusive(&lock);
    size_t index = 0;
    while (index < relayedCount && (relayed[index].function != wanted.function || relayed[index].kind != kind)) {
        ++index;
    }
    if (index == relayedCount && relayedCount < mostRelays) {
        relayed[relayedCount++] = wanted;
    }
    if (index < relayedCount) {
        found = {relays[index], static_cast<uint32_t>(index + 1)};
    }
    ReleaseSRWLockExclusive(&lock);
    return found;
}

} // namespace spy
