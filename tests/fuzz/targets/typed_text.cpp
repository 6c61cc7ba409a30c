// Bytes and numbers as people type them at the command line.
#include "tests/fuzz/Input.h"
#include "tools/printers/PrinterMessages.h"
#include "tools/text/HexText.h"
#include "tools/text/NumberText.h"
#include "tools/text/ResultNames.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    fuzz::Input input(bytes, size);
    const uint32_t limit = input.number<uint32_t>();
    const std::string text = input.remainingText();

    if (const auto parsed = tool::parseHexBytes(text)) {
        fuzz::require(parsed->size() <= text.size() / 2, "a byte has two digits");
        const std::string written = tool::hexBytes(*parsed);
        fuzz::require(tool::parseHexBytes(written) == parsed, "bytes survive being written");
        fuzz::require(tool::hexDump(*parsed).empty() == parsed->empty(), "every byte is shown");
    }
    const std::vector<uint8_t> asBytes(text.begin(), text.end());
    fuzz::require(tool::parseHexBytes(tool::hexBytes(asBytes)) == asBytes, "any bytes survive being written");

    if (const auto number = tool::parseNumber(text, limit)) {
        fuzz::require(*number <= limit, "a number keeps its limit");
        fuzz::require(tool::parseNumber(std::to_string(*number), limit) == number, "and reads back in decimal");
        fuzz::require(tool::parseNumber(tool::hexNumber(*number, 4), limit) == number, "and in hexadecimal");
    }

    fuzz::Input numbers(bytes, size);
    const uint32_t message = numbers.number<uint32_t>();
    const uint64_t wParam = numbers.number<uint64_t>();
    if (const auto decoded = tool::decodeMessage(message, wParam, numbers.number<int64_t>())) {
        fuzz::require(!tool::describeValue(*decoded).empty(), "a message can be told in words");
    }
    fuzz::require(!tool::describeResult(static_cast<int32_t>(message)).empty(), "every result can be told in words");
    return 0;
}
