/// What the library's results are called and mean: the one table that every command shows them from.
#pragma once

#include <cstdint>
#include <string>

namespace tool {

/// "KAL_PRNBUSY (-27): the printer is busy".
std::string describeResult(int32_t result);

} // namespace tool
