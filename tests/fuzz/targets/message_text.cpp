// Texts from devices and numbers put together into a log line, compared with the standard library's way.
#include "logging/LogLine.h"
#include "logging/LoggerComponent.h"
#include "logging/MessageText.h"
#include "tests/fuzz/Input.h"

#include <iomanip>
#include <sstream>

namespace {

std::string hexText(const std::vector<uint8_t> &bytes) {
    std::ostringstream expected;
    for (size_t position = 0; position < bytes.size(); ++position) {
        expected << (position == 0 ? "" : " ") << std::hex << std::uppercase << std::setw(2) << std::setfill('0')
                 << static_cast<unsigned>(bytes[position]);
    }
    return expected.str();
}

void addPiece(fuzz::Input &input, kal::MessageText &text, std::string &expected) {
    switch (input.number<uint8_t>() % 7) {
    case 0: {
        const std::string piece = input.text();
        text << std::string_view(piece);
        expected += piece;
        break;
    }
    case 1: {
        const auto number = input.number<int64_t>();
        text << number;
        expected += std::to_string(number);
        break;
    }
    case 2: {
        const auto number = input.number<uint64_t>();
        text << number;
        expected += std::to_string(number);
        break;
    }
    case 3: {
        const std::vector<uint8_t> piece = input.bytes();
        text << kal::HexBytes{piece};
        expected += hexText(piece);
        break;
    }
    case 4: {
        const auto number = input.number<uint32_t>();
        const uint32_t width = input.number<uint8_t>() % 24;
        const bool isHexadecimal = input.number<uint8_t>() % 2 != 0;
        text << kal::PaddedNumber{number, width, isHexadecimal ? 16u : 10u};
        std::ostringstream padded;
        padded << (isHexadecimal ? std::hex : std::dec) << std::setw(static_cast<int>(width)) << std::setfill('0')
               << number;
        expected += padded.str();
        break;
    }
    case 5: {
        const auto address = input.number<uint64_t>();
        text << reinterpret_cast<const void *>(address);
        if (address != 0) {
            std::ostringstream digits;
            digits << std::hex << std::uppercase << std::setw(16) << std::setfill('0') << address;
            expected += "0x" + digits.str();
        }
        break;
    }
    default: {
        const auto character = static_cast<char>(input.number<uint8_t>());
        const size_t count = input.number<uint16_t>() % 1024;
        text.fill(character, count);
        expected.append(count, character);
        break;
    }
    }
}

void checkHeader(fuzz::Input &input) {
    kal::LogHeader header;
    if (input.number<uint8_t>() % 2 != 0) {
        header.time = kal::LogTime{input.number<uint32_t>(), input.number<uint32_t>(), input.number<uint32_t>(),
                                   input.number<uint32_t>(), input.number<uint32_t>(), input.number<uint32_t>(),
                                   input.number<uint32_t>()};
    }
    header.processId = input.number<uint32_t>();
    header.component = kal::loggerComponent(kal::ComponentId::LegacyClient).nameView();
    header.componentWidth = input.number<uint8_t>();
    header.depth = input.number<int16_t>();
    kal::MessageText line;
    kal::composeHeader(line, header);
    fuzz::require(line.view().find(header.component) != std::string_view::npos, "a header names its component");
    fuzz::require(header.depth <= 0 || line.view().size() > static_cast<size_t>(header.depth), "a call is a blank");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    fuzz::Input input(bytes, size);
    checkHeader(input);
    kal::MessageText text;
    std::string expected;
    while (!input.isEmpty() && expected.size() < 65536) {
        addPiece(input, text, expected);
        fuzz::require(text.view() == expected, "pieces stand one behind the other");
    }
    fuzz::require(std::string_view(text.c_str()) == std::string_view(expected.c_str()), "the text is terminated");
    fuzz::require(text.view() == expected, "terminating changes nothing");
    return 0;
}
