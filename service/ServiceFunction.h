#pragma once

namespace kal {

/// An entry point of comc.dll: its name, and the type of its prototype in comc/comc.h. The compiler therefore checks
/// the arguments of each call, although the function is looked up by name at run time.
template <class Function>
struct ServiceFunction {
    explicit constexpr ServiceFunction(const char *entryPointName) noexcept : name(entryPointName) {}

    const char *name;
};

} // namespace kal
