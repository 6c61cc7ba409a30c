// The end of a program, as Windows has it: static objects are destroyed when main returns. Linux would destroy them
// when Wine has parted from its server; the first handle that is closed then would end the thread, and the program only
// when Wine's patience ends.

#include "StaticObjects.h"

#include <cstdio>

// Every reference to main leads here (the linker's --wrap).
extern "C" int __real_main(int argumentCount, char **arguments);

extern "C" int __wrap_main(int argumentCount, char **arguments) {
    const int result = __real_main(argumentCount, arguments);
    std::fflush(nullptr);
    winelib::destroyStaticObjects();
    return result;
}
