// The export directory of a loaded module.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <windows.h>

namespace kal::test {

/// The exported names, in the order of the directory (ascending).
std::vector<std::string> exportNames(HMODULE module);

/// Takes a name out of the export directory of a loaded module, so that GetProcAddress does not find it. Gone until the
/// module is loaded anew. Does nothing when the name is not there.
void removeExport(HMODULE module, std::string_view name);

} // namespace kal::test
