#include "api/AlertClassifier.h"

#include "api/kal.h"

#include <algorithm>

namespace kal {

namespace {

constexpr uint8_t leadByte = 0xA5;
constexpr uint8_t bpdCommand = 0xF0;
constexpr uint8_t extendedAlert = 0x73;
constexpr uint8_t extensionAlert = 0x03;
constexpr uint8_t tonerPrediction = 0x80;

// Offsets into an alert.
constexpr size_t leadOffset = 0;
constexpr size_t commandOffset = 4;
constexpr size_t classOffset = 5;
constexpr size_t subClassOffset = 6;
constexpr size_t subTypeOffset = 7;
constexpr size_t extendedTypeOffset = 10;

constexpr uint8_t powerOnResetPattern[] = {0xFF, 0x01, 0x00, 0x00};
constexpr uint8_t statusPattern[] = {0xF0, 0x73, 0x01, 0x01, 0x10, 0x01, 0x10, 0x00};
constexpr uint8_t printResyncPattern[] = {0xF0, 0x73, 0x01, 0x01, 0x08, 0x01, 0x08, 0x00};

bool hasPattern(std::span<const uint8_t> alert, std::span<const uint8_t> pattern) noexcept {
    return std::ranges::equal(alert.subspan(commandOffset, pattern.size()), pattern);
}

StatusWindowVerdict classifyExtended(uint8_t type) noexcept {
    switch (type) {
    case 1:
        return {WM_KAL_JOBOIRALERTEX, "Alert message = WM_KAL_JOBOIRALERTEX"};
    case 2:
        return {WM_KAL_WARNINGSEX, "Alert message = WM_KAL_WARNINGSEX"};
    case 4:
        return {WM_KAL_CONFIGCHANGEEX, "Alert message = WM_KAL_CONFIGCHANGEEX"};
    default:
        // "staus" here and in the next two strings is deliberate: support staff search the log for it.
        return {0, "Alert is an extended alert but not one that the staus window cares about."};
    }
}

StatusWindowVerdict classifyExtension(const uint8_t *alert, uint32_t length) noexcept {
    constexpr uint32_t tonerPredictionSize = 21;
    if (length >= tonerPredictionSize && alert[subClassOffset] == tonerPrediction && alert[subTypeOffset] == 0x01) {
        return {WM_KAL_TONERPREDICTION, "Alert message = WM_KAL_TONERPREDICTION"};
    }
    return {0, "Alert is an extension alert but not one that the staus window cares about."};
}

} // namespace

CpdVerdict classifyCpdAlert(std::span<const uint8_t> alert) noexcept {
    constexpr CpdVerdict invalid = {CpdAlert::invalid, 0, "Invalid alert data"};
    if (alert.empty() || alert[leadOffset] != leadByte) {
        return invalid;
    }
    if (alert.size() >= 8 && hasPattern(alert, powerOnResetPattern)) {
        return {CpdAlert::powerOnReset, WM_KAL_DSA, "POR alert, posting WM_KAL_DSA"};
    }
    if (alert.size() >= 24 && hasPattern(alert, statusPattern)) {
        return {CpdAlert::status, WM_KAL_CPD_STATUSCHANGE, "Posting WM_KAL_CPD_STATUSCHANGE"};
    }
    if (alert.size() == 12 && hasPattern(alert, printResyncPattern)) {
        return {CpdAlert::printResync, 0, "got Print Resync Alert - consuming it..."};
    }
    return invalid;
}

StatusWindowVerdict classifyStatusWindowAlert(const uint8_t *alert, uint32_t length) noexcept {
    if (length <= alertHeadSize) {
        return {0, "Size of alert is not valid."};
    }
    if (alert[leadOffset] != leadByte) {
        return {0, "Alert does not begin with 0xA5"};
    }
    if (alert[commandOffset] != bpdCommand) {
        return {0, "Alert does not have a command byte of 0xF0"};
    }
    switch (alert[classOffset]) {
    case extendedAlert:
        return classifyExtended(alert[extendedTypeOffset]);
    case extensionAlert:
        return classifyExtension(alert, length);
    default:
        return {0, "Alert not one that the staus window cares about."};
    }
}

} // namespace kal
