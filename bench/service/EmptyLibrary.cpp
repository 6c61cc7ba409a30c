// A DLL that does nothing, made as the library is: the floor of loading one.

#include <cstdint>

extern "C" __declspec(dllexport) int32_t answer() {
    return 1;
}
