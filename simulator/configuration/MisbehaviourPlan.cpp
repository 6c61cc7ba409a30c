#include "simulator/configuration/MisbehaviourPlan.h"

#include <algorithm>

namespace simulator {

MisbehaviourDecision decide(std::span<const Misbehaviour> rules, uint32_t call) noexcept {
    MisbehaviourDecision decision;
    for (const auto &rule : rules) {
        if (call < rule.firstCall || (rule.lastCall && call > *rule.lastCall)) {
            continue;
        }
        decision.delayMs += rule.delayMs;
        if (!decision.code) {
            decision.code = rule.code;
        }
        if (!decision.accept) {
            decision.accept = rule.accept;
        }
    }
    return decision;
}

bool isMissing(std::span<const Misbehaviour> rules) noexcept {
    return std::any_of(rules.begin(), rules.end(), [](const auto &rule) { return rule.isMissing; });
}

} // namespace simulator
