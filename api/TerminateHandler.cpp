// The GNU standard library's own handler brings its name demangler and formatted output with it, a fifth of the DLL, to
// print the type of an exception that nobody catches to a console that a DLL's process seldom has.

#include <exception>

#if defined(__GLIBCXX__)

#include <cstdlib>

namespace __gnu_cxx {

void __verbose_terminate_handler() {
    std::abort();
}

} // namespace __gnu_cxx

#endif
