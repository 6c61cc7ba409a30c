#pragma once

#include <nlohmann/json.hpp>

namespace bench {

/// The `main` of a bench: PROGRAM RESULT.json. Writes the figures that are measured to that file.
/// @return the exit code: 0, 1 when something went wrong, 2 without the file's name
int runProgram(int argumentCount, char **arguments, nlohmann::json (*measure)());

} // namespace bench
