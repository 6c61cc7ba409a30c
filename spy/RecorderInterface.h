/// What comc.dll, the spy that comes and goes with the client's need of it, asks of the recorder, which stays.
#pragma once

#include <windows.h>

#include <cstdint>

namespace spy {

/// An entry point of the real library, or one of the client's functions: so many words are handed on whatever the
/// function takes.
using AnyFunction = uint64_t(uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t);

struct RecorderInterface {
    /// Both must be of one build.
    uint32_t size;
    /// The real library is loaded.
    /// @param functions  its entry points in the order of EntryPointIndex, null where it lacks one
    void (*loaded)(HMODULE service, AnyFunction *const *functions) noexcept;
    void (*unloading)() noexcept;
    /// Calls the function with the words and records that. @param index  as EntryPointIndex
    uint64_t (*forward)(uint32_t index, AnyFunction *function, const uint64_t *words);
};

/// The recorder's only export.
inline constexpr const char *recorderInterfaceName = "spyRecorder";
using RecorderInterfaceFunction = const RecorderInterface *();

} // namespace spy
