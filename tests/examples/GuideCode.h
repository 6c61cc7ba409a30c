// Code of docs/guide.md that is in none of the examples. It is compiled here, so that it is correct.
#pragma once

#include "kal.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace guide {

struct FoundPort {
    bool isFound = false;
    uint16_t handle = 0;
};

FoundPort findPort(const char *portName);
std::optional<bool> isPrinting(uint16_t handle);
std::vector<uint8_t> ask(uint16_t handle, uint16_t function);

} // namespace guide
