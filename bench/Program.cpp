#include "bench/Program.h"

#include <cstdio>
#include <exception>
#include <fstream>
#include <stdexcept>

namespace bench {

int runProgram(int argumentCount, char **arguments, nlohmann::json (*measure)()) {
    if (argumentCount != 2) {
        std::fprintf(stderr, "usage: %s RESULT.json\n", arguments[0]);
        return 2;
    }
    try {
        const nlohmann::json figures = measure();
        if (!(std::ofstream(arguments[1]) << figures.dump(2) << '\n').flush()) {
            throw std::runtime_error("cannot write " + std::string(arguments[1]));
        }
        return 0;
    } catch (const std::exception &exception) {
        std::fprintf(stderr, "%s: %s\n", arguments[0], exception.what());
        return 1;
    }
}

} // namespace bench
