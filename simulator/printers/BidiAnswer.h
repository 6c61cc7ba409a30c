#pragma once

#include "simulator/configuration/Configuration.h"

#include <span>

namespace simulator {

struct BidiAnswer {
    uint32_t code = 0;
    uint32_t delayMs = 0;
    Bytes response;
};

/// The answer to a request: that of the longest configured prefix, else the request's own command bytes, so that an
/// author sees that something arrived. The response begins with five bytes: A5, the length of what follows offset 2
/// (two bytes, high byte first) and the request's first two command bytes.
[[nodiscard]] BidiAnswer answerBidi(std::span<const BidiRule> rules, std::span<const uint8_t> request);

} // namespace simulator
