// Replaces the terminate handler of the GNU standard library. That one prints the type of an uncaught exception, to a
// console that the process of a DLL seldom has, and so adds a name demangler and formatted output: a fifth of the DLL.

#include <exception>

#if defined(__GLIBCXX__)

#include <cstdlib>

namespace __gnu_cxx {

void __verbose_terminate_handler() {
    std::abort();
}

} // namespace __gnu_cxx

#endif
