/// The entry points of comc.dll by number.
#pragma once

#include <cstddef>
#include <cstdint>

namespace spy {

/// Every entry point hands on so many words, which is more than any of them has arguments.
inline constexpr size_t mostWords = 8;

/// Indices of the table.
enum class EntryPointIndex : uint32_t {
#define ORX_ENTRY_POINT(name, client, parameters, arguments) name,
#include "comc/EntryPoints.inc"
#undef ORX_ENTRY_POINT
    count
};

inline constexpr size_t entryPointCount = static_cast<size_t>(EntryPointIndex::count);

} // namespace spy
