#include "simulator/configuration/ConfigurationReader.h"

#include "platform/Hexadecimal.h"

namespace simulator {

uint16_t Reader::handle(const JsonValue &value, const std::string &what) const {
    const auto *text = std::get_if<std::string>(&value.content);
    if (!text) {
        return number<uint16_t>(value, what);
    }
    const bool isPrefixed = text->size() >= 3 && text->size() <= 6 && (*text)[0] == '0' && ((*text)[1] | 32) == 'x';
    if (!isPrefixed || text->find_first_not_of("0123456789abcdefABCDEF", 2) != std::string::npos) {
        fail(value, what + " must be a number from 0 to 65535 or a string such as \"0x6001\"");
    }
    return static_cast<uint16_t>(std::stoul(text->substr(2), nullptr, 16));
}

Bytes Reader::bytes(const JsonValue &value, const std::string &what) const {
    const auto &text = string(value, what);
    Bytes result;
    int high = -1;
    for (const char character : text) {
        if (character == ' ' || character == ':' || character == '-') {
            if (high >= 0) {
                break;
            }
            continue;
        }
        const int digit = kal::hexadecimalValue(character);
        if (digit < 0) {
            high = 0;
            break;
        }
        if (high < 0) {
            high = digit;
        } else {
            result.push_back(static_cast<uint8_t>(high * 16 + digit));
            high = -1;
        }
    }
    if (high >= 0) {
        fail(value, what + " must be pairs of hexadecimal digits");
    }
    return result;
}

const JsonValue *Members::find(const std::string &key) {
    asked_.insert(key);
    const auto found = std::find_if(members_.begin(), members_.end(), [&](const auto &m) { return m.key == key; });
    return found == members_.end() ? nullptr : &found->value;
}

const JsonValue &Members::require(const std::string &key) {
    const auto *found = find(key);
    if (!found) {
        reader_.fail(value_, what_ + " lacks \"" + key + "\"");
    }
    return *found;
}

void Members::finish() const {
    for (const auto &[key, value] : members_) {
        if (!asked_.contains(key)) {
            reader_.fail(value, what_ + " has no \"" + key + "\"");
        }
    }
}

} // namespace simulator
