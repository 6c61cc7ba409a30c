#include "tools/text/JsonLine.h"

#include "tools/text/JsonText.h"

#include <algorithm>

namespace tool {

namespace {

/// Stands for itself between quotes. What does not, and what is not ASCII, is left to the JSON library.
bool isPlain(char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte >= 0x20 && byte < 0x80 && character != '"' && character != '\\';
}

void appendString(std::string &text, std::string_view value) {
    if (std::ranges::all_of(value, isPlain)) {
        text += '"';
        text += value;
        text += '"';
    } else {
        text += jsonLine(value);
    }
}

} // namespace

void JsonLine::begin() {
    text_ = '{';
    isFirst_ = true;
}

void JsonLine::addKey(std::string_view key) {
    if (!isFirst_) {
        text_ += ',';
    }
    isFirst_ = false;
    appendString(text_, key);
    text_ += ':';
}

void JsonLine::add(std::string_view key, std::string_view value) {
    addKey(key);
    appendString(text_, value);
}

void JsonLine::addLiteral(std::string_view key, std::string_view value) {
    addKey(key);
    text_ += value;
}

void JsonLine::beginObject(std::string_view key) {
    addKey(key);
    text_ += '{';
    isFirst_ = true;
}

void JsonLine::endObject() {
    text_ += '}';
    isFirst_ = false;
}

std::string_view JsonLine::end() {
    text_ += '}';
    return text_;
}

} // namespace tool
