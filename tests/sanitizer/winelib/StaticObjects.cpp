#include "StaticObjects.h"

#include <atomic>
#include <cstddef>

namespace {

struct Destruction {
    void (*destroy)(void *);
    void *object;
};

constexpr size_t most = 4096;
Destruction destructions[most];
std::atomic<size_t> count = 0; // an object of a function is made on any thread

} // namespace

/// What the compiler calls for each static object with a destructor.
extern "C" __attribute__((visibility("hidden"))) int __cxa_atexit(void (*destroy)(void *), void *object, void *) {
    const size_t number = count++;
    if (number >= most) {
        --count;
        return -1;
    }
    destructions[number] = {destroy, object};
    return 0;
}

void winelib::destroyStaticObjects() {
    while (count > 0) {
        const Destruction &last = destructions[--count];
        last.destroy(last.object);
    }
}
