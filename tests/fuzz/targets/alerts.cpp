// Alerts as a printer or its service sends them, and the masks that choose among them.
#include "api/AlertClassifier.h"
#include "api/AlertMask.h"
#include "api/kal.h"
#include "tests/fuzz/Input.h"

#include <cstring>

namespace {

constexpr uint32_t statusWindowMessages[] = {0, WM_KAL_JOBOIRALERTEX, WM_KAL_WARNINGSEX, WM_KAL_CONFIGCHANGEEX,
                                             WM_KAL_TONERPREDICTION};

void checkMask(uint32_t mask) {
    constexpr uint32_t everythingBit = 0x400000;
    const uint32_t mapped = kal::mapAlertMask(mask);
    if ((mask & everythingBit) != 0) {
        fuzz::require(mapped == 0x100000, "the bit for everything stands alone");
        return;
    }
    uint32_t bitByBit = 0;
    for (uint32_t bit = 1; bit != 0; bit <<= 1) {
        bitByBit |= (mask & bit) != 0 ? kal::mapAlertMask(bit) : 0;
    }
    fuzz::require(mapped == bitByBit, "a mask maps as its bits do");
    fuzz::require((mapped & 0x100000) == 0, "no other bit asks for everything");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    fuzz::Input input(bytes, size);
    checkMask(input.number<uint32_t>());

    const std::vector<uint8_t> alert = input.remainingBytes();
    const kal::CpdVerdict cpd = kal::classifyCpdAlert(alert);
    if (cpd.kind != kal::CpdAlert::invalid) {
        fuzz::require(alert.size() >= 8 && alert[0] == 0xA5, "an alert that is one begins with its lead byte");
    }
    if (cpd.kind == kal::CpdAlert::printResync) {
        fuzz::require(alert.size() == 12, "a resync has twelve bytes");
    }

    // The type of an extended alert is read whatever its length: the service hands over whole frames.
    std::vector<uint8_t> frame = alert;
    frame.resize(std::max<size_t>(frame.size(), 11));
    const kal::StatusWindowVerdict verdict =
        kal::classifyStatusWindowAlert(frame.data(), static_cast<uint32_t>(alert.size()));
    fuzz::require(verdict.text != nullptr && std::strlen(verdict.text) > 0, "the log always has something to say");
    fuzz::require(std::ranges::find(statusWindowMessages, verdict.message) != std::end(statusWindowMessages),
                  "only known messages are posted");
    fuzz::require(verdict.message == 0 || alert.size() > kal::alertHeadSize, "what is posted has something to store");
    return 0;
}
