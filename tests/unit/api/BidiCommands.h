// The requests that function codes stand for, as data of the tests.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

namespace kal::test {

/// The whole stored frame by function code, for the codes that have one.
inline const std::map<uint16_t, std::vector<uint8_t>> &bidiFrames() {
    static const std::map<uint16_t, std::vector<uint8_t>> frames = [] {
        const std::pair<uint16_t, std::vector<uint8_t>> commands[] = {
#define COMMAND(code, ...) {code, {__VA_ARGS__}},
#include "tests/unit/api/BidiCommands.inc"
#undef COMMAND
        };
        std::map<uint16_t, std::vector<uint8_t>> all;
        for (const auto &[code, command] : commands) {
            std::vector<uint8_t> frame = {0xA5, 0, static_cast<uint8_t>(command.size())};
            frame.insert(frame.end(), command.begin(), command.end());
            all.emplace(code, std::move(frame));
        }
        return all;
    }();
    return frames;
}

} // namespace kal::test
