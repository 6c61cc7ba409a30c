/// The functions of the recorder. The recorder stays loaded while the client loads and frees the spy many times.
#pragma once

#include <windows.h>

#include <cstdint>

namespace spy {

/// An entry point of the real library, or one of the client's functions. All eight words are passed, whatever the
/// function's number of arguments.
using AnyFunction = uint64_t(uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t);

struct RecorderInterface {
    /// Size of this structure. It may differ if spy and recorder come from different builds.
    uint32_t size;
    /// Reports that the real library was loaded.
    /// @param functions  its entry points in the order of EntryPointIndex, null for those it lacks
    void (*loaded)(HMODULE service, AnyFunction *const *functions) noexcept;
    void (*unloading)() noexcept;
    /// Calls the function with the words and records the call. @param index  as EntryPointIndex
    uint64_t (*forward)(uint32_t index, AnyFunction *function, const uint64_t *words);
};

/// The recorder's only export.
inline constexpr const char *recorderInterfaceName = "spyRecorder";
using RecorderInterfaceFunction = const RecorderInterface *();

} // namespace spy
