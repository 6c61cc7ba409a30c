#include "simulator/configuration/MisbehaviourPlan.h"

#include <gtest/gtest.h>

using namespace simulator;

namespace {

Misbehaviour codeAt(uint32_t first, std::optional<uint32_t> last, uint32_t code) {
    Misbehaviour rule;
    rule.firstCall = first;
    rule.lastCall = last;
    rule.code = code;
    return rule;
}

TEST(MisbehaviourPlan, NthCallAloneIsStruck) {
    const std::vector rules{codeAt(2, 2, 170)};
    EXPECT_FALSE(decide(rules, 1).code);
    EXPECT_EQ(decide(rules, 2).code, 170u);
    EXPECT_FALSE(decide(rules, 3).code);
}

TEST(MisbehaviourPlan, EveryCallFromTheNthOnIsStruck) {
    const std::vector rules{codeAt(2, std::nullopt, 6)};
    EXPECT_FALSE(decide(rules, 1).code);
    EXPECT_EQ(decide(rules, 2).code, 6u);
    EXPECT_EQ(decide(rules, 2000).code, 6u);
}

TEST(MisbehaviourPlan, FirstOfTwoCodesCounts) {
    const std::vector rules{codeAt(1, std::nullopt, 6), codeAt(1, std::nullopt, 7)};
    EXPECT_EQ(decide(rules, 1).code, 6u);
}

TEST(MisbehaviourPlan, DelaysAddUp) {
    Misbehaviour rule;
    rule.delayMs = 20;
    EXPECT_EQ(decide(std::vector{rule, rule}, 1).delayMs, 40u);
}

TEST(MisbehaviourPlan, MissingIsSeenAmongOtherRules) {
    Misbehaviour missing;
    missing.isMissing = true;
    EXPECT_TRUE(isMissing(std::vector{codeAt(1, 1, 6), missing}));
    EXPECT_FALSE(isMissing(std::vector{codeAt(1, 1, 6)}));
}

} // namespace
