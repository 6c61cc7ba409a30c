#ifndef SIMULATOR_EXPORT_TABLE_H
#define SIMULATOR_EXPORT_TABLE_H

#include <functional>
#include <string_view>

#include <windows.h>

namespace simulator {

/**
 * Takes names out of a loaded module's export directory, so that GetProcAddress no longer finds them. The order of the
 * other names is kept: they are searched by halves.
 * @return whether the directory could be written.
 */
bool removeExports(HMODULE module, const std::function<bool(std::string_view)> &isToBeRemoved);

} // namespace simulator

#endif
