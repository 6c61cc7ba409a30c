#include "recording/Capture.h"

#include <algorithm>
#include <cstring>

namespace recording {

namespace {

constexpr size_t mostTextBytes = size_t{32} * 1024;

const char *at(uint64_t address) {
    return reinterpret_cast<const char *>(static_cast<uintptr_t>(address));
}

uint32_t narrow(uint64_t word) {
    return static_cast<uint32_t>(word);
}

Json addressOnly(uint64_t address) {
    std::string big;
    for (int shift = 56; shift >= 0; shift -= 8) {
        big += static_cast<char>(address >> shift);
    }
    return {{"address", hexadecimal(big.data(), big.size())}};
}

/// Whether JSON can carry the string unchanged.
bool isUtf8(const std::string &text) {
    try {
        static_cast<void>(Json(text).dump());
        return true;
    } catch (const Json::type_error &) {
        return false;
    }
}

void appendUtf8(std::string &text, uint32_t point) {
    const auto tail = [&](unsigned shift) { text += static_cast<char>(0x80 | (point >> shift & 0x3F)); };
    if (point < 0x80) {
        text += static_cast<char>(point);
    } else if (point < 0x800) {
        text += static_cast<char>(0xC0 | point >> 6);
        tail(0);
    } else if (point < 0x10000) {
        text += static_cast<char>(0xE0 | point >> 12);
        tail(6);
        tail(0);
    } else {
        text += static_cast<char>(0xF0 | point >> 18);
        tail(12);
        tail(6);
        tail(0);
    }
}

Json wholeBytes(const std::string &bytes) {
    return {{"length", bytes.size()}, {"hex", hexadecimal(bytes.data(), bytes.size())}};
}

} // namespace

std::string Capture::content(uint64_t address, size_t wanted) const {
    return address == 0 ? std::string() : std::string(at(address), host_.readable(at(address), wanted));
}

Json Capture::bytes(std::string_view name, uint64_t address, size_t length, bool isDocument,
                    const PieceSink &pieces) const {
    if (address == 0) {
        return nullptr;
    }
    if (host_.readable(at(address), length) < length) {
        auto unreadable = addressOnly(address);
        unreadable["length"] = length;
        return unreadable;
    }
    const bool isRedacted = redacts_ && isDocument;
    if (!isRedacted && length <= mostInlineBytes) {
        return {{"length", length}, {"hex", hexadecimal(at(address), length)}};
    }
    const auto digest = host_.newDigest();
    uint64_t count = 0;
    for (size_t offset = 0; offset < length; offset += mostInlineBytes) {
        const auto size = std::min(mostInlineBytes, length - offset);
        digest->add(at(address) + offset, size);
        if (!isRedacted) {
            pieces(name, offset, hexadecimal(at(address) + offset, size));
            ++count;
        }
    }
    Json described{{"length", length}, {"sha256", digest->finish()}};
    if (!isRedacted) {
        described["pieces"] = count;
    }
    return described;
}

Json Capture::text(uint64_t address) const {
    if (address == 0) {
        return nullptr;
    }
    const auto readable = host_.readable(at(address), mostTextBytes);
    if (readable == 0) {
        return addressOnly(address);
    }
    const std::string text(at(address), strnlen(at(address), readable));
    return isUtf8(text) ? Json(text) : wholeBytes(text);
}

Json Capture::wideText(uint64_t address) const {
    if (address == 0) {
        return nullptr;
    }
    const auto readable = host_.readable(at(address), mostTextBytes);
    if (readable < 2) {
        return addressOnly(address);
    }
    std::string units;
    std::string text;
    uint32_t high = 0;
    bool isSound = true;
    for (size_t offset = 0; offset + 1 < readable; offset += 2) {
        const auto unit = static_cast<uint32_t>(static_cast<unsigned char>(at(address)[offset]) |
                                                static_cast<unsigned char>(at(address)[offset + 1]) << 8);
        if (unit == 0) {
            break;
        }
        units.append(at(address) + offset, 2);
        const bool isLow = unit >= 0xDC00 && unit < 0xE000;
        isSound = isSound && isLow == (high != 0);
        if (unit >= 0xD800 && unit < 0xDC00) {
            high = unit;
            continue;
        }
        appendUtf8(text, isLow ? 0x10000 + ((high & 0x3FF) << 10) + (unit & 0x3FF) : unit);
        high = 0;
    }
    return isSound && high == 0 ? Json(text) : wholeBytes(units);
}

Json Capture::arguments(const comc::EntryPoint &entryPoint, const Words &words, const PieceSink &pieces) const {
    Json values = Json::object();
    const auto arguments = entryPoint.arguments();
    for (size_t index = 0; index < arguments.size(); ++index) {
        const auto &argument = arguments[index];
        const auto word = words[index];
        Json &value = values[argument.name];
        if (argument.kind == comc::ArgumentKind::number) {
            value = narrow(word);
        } else if (word == 0) {
            value = nullptr;
        } else if (argument.kind == comc::ArgumentKind::text) {
            value = text(word);
        } else if (argument.kind == comc::ArgumentKind::wideText) {
            value = wideText(word);
        } else if (argument.kind == comc::ArgumentKind::inputBytes) {
            value = bytes(argument.name, word, narrow(words[index + 1]), argument.isDocument, pieces);
        } else if (argument.kind == comc::ArgumentKind::outputBytes ||
                   argument.kind == comc::ArgumentKind::outputNumber) {
            value = {{"output", true}};
        } else if (const auto number = comc::isCallback(argument.kind) ? host_.callbackNumber(word, argument.kind) : 0;
                   number != 0) {
            value = {{"callback", number}};
        } else {
            value = addressOnly(word);
        }
    }
    return values;
}

Json Capture::callbackArguments(comc::ArgumentKind kind, const Words &words, const PieceSink &pieces) const {
    Json values{{"handle", narrow(words[0])}};
    if (kind == comc::ArgumentKind::alertCallback) {
        values["alert"] = bytes("alert", words[1], narrow(words[2]), false, pieces);
        values["length"] = narrow(words[2]);
    } else if (kind == comc::ArgumentKind::notificationCallback) {
        values["category"] = narrow(words[1]);
        values["notification"] = narrow(words[2]);
        const auto flag = content(words[3], sizeof(uint32_t));
        if (words[3] == 0 || flag.size() < sizeof(uint32_t)) {
            values["endOfJobFlag"] = words[3] == 0 ? Json(nullptr) : addressOnly(words[3]);
        } else {
            uint32_t number = 0;
            std::memcpy(&number, flag.data(), sizeof number);
            values["endOfJobFlag"] = number;
        }
        values["reserved5"] = words[4] == 0 ? Json(nullptr) : addressOnly(words[4]);
        values["reserved6"] = words[5] == 0 ? Json(nullptr) : addressOnly(words[5]);
    }
    return values;
}

Capture::Before::Before(const Capture &capture, const comc::EntryPoint &entryPoint, const Words &words) {
    const auto arguments = entryPoint.arguments();
    for (size_t index = 0; index < arguments.size(); ++index) {
        const auto kind = arguments[index].kind;
        if (kind == comc::ArgumentKind::outputNumber) {
            contents_[index] = capture.content(words[index], sizeof(uint32_t));
        } else if (kind == comc::ArgumentKind::outputBytes) {
            contents_[index] =
                capture.content(words[index], std::min<size_t>(narrow(words[index + 1]), mostInlineBytes));
        }
    }
}

Json Capture::outputs(const comc::EntryPoint &entryPoint, const Words &words, const Before &before, bool succeeded,
                      const PieceSink &pieces) const {
    Json values = Json::object();
    const auto arguments = entryPoint.arguments();
    for (size_t index = 0; index < arguments.size(); ++index) {
        const auto &argument = arguments[index];
        const bool isNumber = argument.kind == comc::ArgumentKind::outputNumber;
        if (words[index] == 0 || (!isNumber && argument.kind != comc::ArgumentKind::outputBytes)) {
            continue;
        }
        const auto &old = before.contents_[index];
        const auto now = content(words[index], old.size());
        if (isNumber) {
            uint32_t number = 0;
            if (now.size() == sizeof number && (succeeded || now != old)) {
                std::memcpy(&number, now.data(), sizeof number);
                values[argument.name] = number;
            }
            continue;
        }
        const auto last = std::mismatch(now.rbegin(), now.rend(), old.rbegin(), old.rend()).first;
        size_t written = static_cast<size_t>(now.rend() - last); // up to the last byte that changed
        if (succeeded && words[index + 2] != 0) {
            uint32_t told = 0;
            if (const auto length = content(words[index + 2], sizeof told); length.size() == sizeof told) {
                std::memcpy(&told, length.data(), sizeof told);
            }
            written = std::max<size_t>(written, std::min(told, narrow(words[index + 1])));
        }
        if (written > 0) {
            values[argument.name] = bytes(argument.name, words[index], written, argument.isDocument, pieces);
        }
    }
    return values;
}

} // namespace recording
