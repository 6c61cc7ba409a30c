// Property descriptors and bidi requests as the simulator receives them, and its named alerts and cache blocks.
#include "api/AlertClassifier.h"
#include "comc/Properties.h"
#include "simulator/configuration/AlertFormat.h"
#include "simulator/configuration/NotificationNames.h"
#include "simulator/printers/BidiAnswer.h"
#include "simulator/printers/CachedData.h"
#include "tests/fuzz/Input.h"

namespace {

void checkDescriptor(const std::string &text) {
    if (const auto descriptor = comc::readDescriptor(text)) {
        fuzz::require(!descriptor->name.empty(), "a descriptor names its property");
        fuzz::require(text.find("<Name>" + descriptor->name + "</Name>") != text.npos, "the name stands in the text");
    }
}

void checkAnswer(const std::vector<simulator::BidiRule> &rules, const std::vector<uint8_t> &request) {
    const simulator::BidiAnswer answer = simulator::answerBidi(rules, request);
    const bool isOwn = std::ranges::any_of(
        rules, [&](const simulator::BidiRule &rule) { return rule.isWhole && rule.answer == answer.response; });
    if (!isOwn) {
        fuzz::require(answer.response.size() >= 5 && answer.response[0] == 0xA5, "an answer has its head");
        const size_t length = answer.response.size() - 3;
        fuzz::require((length & 0xFFFF) == static_cast<size_t>(answer.response[1] << 8 | answer.response[2]),
                      "the head tells the length");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    fuzz::Input input(bytes, size);
    simulator::BidiRule rule;
    rule.isWhole = input.number<uint8_t>() % 2 != 0;
    rule.requestPrefix = input.bytes();
    rule.answer = input.bytes();
    const std::string name = input.text();
    const std::vector<uint8_t> request = input.remainingBytes();
    checkAnswer({}, request);
    checkAnswer({rule}, request);
    checkAnswer({rule, {}}, rule.requestPrefix);
    checkDescriptor({request.begin(), request.end()});
    checkDescriptor("<Name>" + name + "</Name>");

    for (const auto kind : {simulator::DeviceKind::cpdPrinter, simulator::DeviceKind::bpdPrinter}) {
        if (const auto alert = simulator::alertByName(name, kind)) {
            static_cast<void>(kal::classifyCpdAlert(*alert));
        }
    }
    static_cast<void>(simulator::notificationByName(name));
    static_cast<void>(simulator::stateByName(name));

    simulator::PrinterConfiguration printer;
    printer.cache = request;
    printer.hasCacheHead = rule.isWhole;
    fuzz::require(simulator::composeCache(printer).size() == request.size() + (rule.isWhole ? 8 : 0),
                  "a cache block is the cache and its head");
    return 0;
}
