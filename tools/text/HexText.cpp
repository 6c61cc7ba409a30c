#include "tools/text/HexText.h"

#include "platform/Hexadecimal.h"

#include <algorithm>

namespace tool {

namespace {

constexpr size_t bytesPerLine = 16;

void appendOffset(std::string &text, size_t offset) {
    for (int shift = 28; shift >= 0; shift -= 4) {
        text += kal::upperHexadecimalDigits[(offset >> shift) & 0xF];
    }
}

} // namespace

std::optional<std::vector<uint8_t>> parseHexBytes(std::string_view text) {
    std::vector<uint8_t> bytes;
    for (size_t at = 0; at < text.size();) {
        if (std::string_view(" \t\r\n,:-").find(text[at]) != std::string_view::npos) {
            ++at;
            continue;
        }
        if (at + 1 >= text.size()) {
            return std::nullopt;
        }
        const int high = kal::hexadecimalValue(text[at]);
        const int low = kal::hexadecimalValue(text[at + 1]);
        if (high < 0 || low < 0) {
            return std::nullopt;
        }
        bytes.push_back(static_cast<uint8_t>(high * 16 + low));
        at += 2;
    }
    return bytes;
}

std::string hexBytes(std::span<const uint8_t> bytes) {
    std::string text;
    text.reserve(bytes.size() * 3);
    for (const uint8_t byte : bytes) {
        if (!text.empty()) {
            text += ' ';
        }
        kal::appendHexadecimal(text, byte);
    }
    return text;
}

std::string hexDump(std::span<const uint8_t> bytes) {
    std::string text;
    for (size_t offset = 0; offset < bytes.size(); offset += bytesPerLine) {
        const auto line = bytes.subspan(offset, std::min(bytesPerLine, bytes.size() - offset));
        appendOffset(text, offset);
        text += "  ";
        for (size_t column = 0; column < bytesPerLine; ++column) {
            if (column < line.size()) {
                kal::appendHexadecimal(text, line[column]);
                text += ' ';
            } else {
                text += "   ";
            }
            if (column == bytesPerLine / 2 - 1) {
                text += ' ';
            }
        }
        text += " |";
        for (const uint8_t byte : line) {
            text += byte >= 0x20 && byte < 0x7F ? static_cast<char>(byte) : '.';
        }
        text += "|\n";
    }
    return text;
}

} // namespace tool
