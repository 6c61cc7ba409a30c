#include "simulator/printers/BidiAnswer.h"

#include <algorithm>

namespace simulator {

namespace {

constexpr size_t requestHeadSize = 3;
constexpr size_t responseHeadSize = 5;

Bytes withHead(std::span<const uint8_t> request, std::span<const uint8_t> answer) {
    const auto length = responseHeadSize - requestHeadSize + answer.size();
    Bytes response(responseHeadSize + answer.size(), 0);
    response[0] = 0xA5;
    response[1] = static_cast<uint8_t>(length >> 8);
    response[2] = static_cast<uint8_t>(length);
    for (size_t offset = requestHeadSize; offset < std::min(request.size(), responseHeadSize); ++offset) {
        response[offset] = request[offset];
    }
    std::copy(answer.begin(), answer.end(), response.begin() + responseHeadSize);
    return response;
}

} // namespace

BidiAnswer answerBidi(std::span<const BidiRule> rules, std::span<const uint8_t> request) {
    const BidiRule *best = nullptr;
    for (const auto &rule : rules) {
        const auto &prefix = rule.requestPrefix;
        const bool fits = prefix.size() <= request.size() && std::equal(prefix.begin(), prefix.end(), request.begin());
        if (fits && (!best || prefix.size() > best->requestPrefix.size())) {
            best = &rule;
        }
    }
    if (!best) {
        return {0, 0, withHead(request, request.subspan(std::min(request.size(), requestHeadSize)))};
    }
    if (best->isWhole) {
        return {best->code, best->delayMs, best->answer};
    }
    return {best->code, best->delayMs, withHead(request, best->answer)};
}

} // namespace simulator
