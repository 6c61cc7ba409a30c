/// The export directory of a loaded module, as GetProcAddress reads it.
#pragma once

#include <windows.h>

#include <functional>
#include <string_view>

namespace spy {

/// Takes names out of the directory, so that GetProcAddress no longer finds them, for as long as the module is loaded.
/// The order of the other names is kept: they are searched by halves.
/// @return whether the directory could be written
bool removeExports(HMODULE module, const std::function<bool(std::string_view)> &isToBeRemoved);

/// Lets names lead to other functions of the same module; null leaves a name as it is. As removeExports otherwise.
bool redirectExports(HMODULE module, const std::function<const void *(std::string_view)> &targetOf);

} // namespace spy
