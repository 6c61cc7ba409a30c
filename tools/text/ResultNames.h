/// Names and meanings of the library's results, for all commands.
#pragma once

#include <cstdint>
#include <string>

namespace tool {

/// "KAL_PRNBUSY (-27): the printer is busy".
std::string describeResult(int32_t result);

} // namespace tool
