#pragma once

#include "simulator/configuration/Configuration.h"

#include <span>

namespace simulator {

/// What one call of an entry point has to suffer.
struct MisbehaviourDecision {
    std::optional<uint32_t> code;   // answered instead of doing the work
    uint32_t delayMs = 0;           // before anything else
    std::optional<uint32_t> accept; // bytes taken of a write at most
};

/// What the rules say about the call of this number, counted from 1: delays add up, of codes the first one counts.
[[nodiscard]] MisbehaviourDecision decide(std::span<const Misbehaviour> rules, uint32_t call) noexcept;

[[nodiscard]] bool isMissing(std::span<const Misbehaviour> rules) noexcept;

} // namespace simulator
