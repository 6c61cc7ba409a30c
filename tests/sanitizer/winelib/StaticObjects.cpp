#include "StaticObjects.h"

#include <cstddef>

namespace {

struct Destruction {
    void (*destroy)(void *);
    void *object;
};

constexpr std::size_t most = 4096;
Destruction destructions[most];
std::size_t count = 0;

} // namespace

/// What the compiler calls for each static object with a destructor.
extern "C" __attribute__((visibility("hidden"))) int __cxa_atexit(void (*destroy)(void *), void *object, void *) {
    if (count == most) {
        return -1;
    }
    destructions[count++] = {destroy, object};
    return 0;
}

void winelib::destroyStaticObjects() {
    while (count > 0) {
        const Destruction &last = destructions[--count];
        last.destroy(last.object);
    }
}
