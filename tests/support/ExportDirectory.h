// The export directory of a loaded module.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <windows.h>

namespace kal::test {

/// The exported names in the order of the directory, which is ascending.
std::vector<std::string> exportNames(HMODULE module);

/// Removes a name from the export directory of a loaded module, so that GetProcAddress does not find it until the
/// module is loaded again. Does nothing if the name does not exist.
void removeExport(HMODULE module, std::string_view name);

} // namespace kal::test
