#pragma once

#include "simulator/configuration/Configuration.h"

namespace simulator {

/// A printer's cached data; if configured, after a header of eight bytes (A5, length of the data in two bytes, zeros).
[[nodiscard]] Bytes composeCache(const PrinterConfiguration &printer);

} // namespace simulator
