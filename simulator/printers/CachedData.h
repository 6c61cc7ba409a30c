#pragma once

#include "simulator/configuration/Configuration.h"

namespace simulator {

/// A printer's cached data, behind a head of eight bytes (A5, length of the data in two bytes, zeros) when it has one.
[[nodiscard]] Bytes composeCache(const PrinterConfiguration &printer);

} // namespace simulator
