/// The entry points of comc.dll by number. Only their names are used here: the spy defines the functions with types of
/// its own, so the prototypes must not be visible.
#pragma once

#include <cstddef>
#include <cstdint>

namespace comc {

/// Number of argument words that every entry point forwards; no entry point has more arguments.
inline constexpr size_t mostWords = 8;

/// Indices of the table.
enum class EntryPointIndex : uint32_t {
#define ORX_ENTRY_POINT(name, ...) name,
#include "comc/EntryPoints.inc"
#undef ORX_ENTRY_POINT
    count
};

inline constexpr size_t entryPointCount = static_cast<size_t>(EntryPointIndex::count);

} // namespace comc
