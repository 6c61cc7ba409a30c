// Clang 14 with the standard library of GCC 12 cannot take JsonValue's pair of a name and itself unless a vector of
// values was used first. Included before everything else in the fuzz build for Clang.
#pragma once

#include "simulator/JsonDocument.h"

inline void instantiateVectorFirst() {
    const std::vector<simulator::JsonValue> values;
}
