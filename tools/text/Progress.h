/// Texts for the progress of a document: sizes, rates and a bar.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tool {

/// "512 B", "1.5 KiB", "4.0 MiB": one decimal place from 1 KiB upwards.
std::string byteText(uint64_t bytes);

/// Bytes per second, as byteText with "/s"; "-" if no time has passed.
std::string rateText(uint64_t bytes, double seconds);

/// One line without line end: "[#####.....]  50%  2.0 MiB of 4.0 MiB  1.0 MiB/s".
std::string progressLine(uint64_t sent, uint64_t total, double seconds);

/// "FILE: 4,194,304 bytes in 2.00 s (2.0 MiB/s)".
std::string summaryLine(std::string_view name, uint64_t bytes, double seconds);

} // namespace tool
