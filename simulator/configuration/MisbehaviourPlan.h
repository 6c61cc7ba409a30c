#pragma once

#include "simulator/configuration/Configuration.h"

#include <span>

namespace simulator {

/// The misbehaviour of one call.
struct MisbehaviourDecision {
    std::optional<uint32_t> code;   // returned instead of doing the work
    uint32_t delayMs = 0;           // before the work
    std::optional<uint32_t> accept; // maximum number of bytes taken from a write
};

/// Applies the rules to the call with this number, counted from 1. Delays are added; otherwise the first rule wins.
[[nodiscard]] MisbehaviourDecision decide(std::span<const Misbehaviour> rules, uint32_t call) noexcept;

[[nodiscard]] bool isMissing(std::span<const Misbehaviour> rules) noexcept;

} // namespace simulator
