#pragma once

#include "simulator/configuration/Configuration.h"

#include <span>

namespace simulator {

struct BidiAnswer {
    uint32_t code = 0;
    uint32_t delayMs = 0;
    Bytes response;
};

/// The response of the rule with the longest matching prefix; without one, the request from its command bytes on, so
/// that users see that it arrived. Unless the rule is complete, five bytes precede it: A5, the length of what follows
/// offset 2 (two bytes, high byte first) and the request's first two command bytes.
[[nodiscard]] BidiAnswer answerBidi(std::span<const BidiRule> rules, std::span<const uint8_t> request);

} // namespace simulator
