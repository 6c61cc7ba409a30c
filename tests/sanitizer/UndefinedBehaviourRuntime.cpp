// What code compiled with -fsanitize=undefined calls when it meets undefined behaviour, for Windows, where GCC brings
// no such library: says what and where on the standard error output and ends the process with a code of its own.
//
// Every handler gets a record that begins with the place in the source; the few that have no place are named below.

#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

struct SourceLocation {
    const char *file;
    uint32_t line;
    uint32_t column;
};

constexpr UINT exitCode = 77;

[[noreturn]] void report(const char *kind, const void *record) {
    const auto &place = *static_cast<const SourceLocation *>(record);
    char text[1024];
    const int length = std::snprintf(text, sizeof text, "\r\nundefined behaviour: %s at %s:%u:%u\r\n", kind,
                                     place.file == nullptr ? "?" : place.file, place.line, place.column);
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_ERROR_HANDLE), text, length < 0 ? 0 : static_cast<DWORD>(length), &written, nullptr);
    TerminateProcess(GetCurrentProcess(), exitCode);
    for (;;) {
    }
}

} // namespace

extern "C" {

// One line a handler; each also exists with the suffix that GCC uses when it may not return.
#define UNDEFINED_BEHAVIOUR(handler, kind)                                                                             \
    void __ubsan_handle_##handler(const void *record) {                                                                \
        report(kind, record);                                                                                          \
    }                                                                                                                  \
    void __ubsan_handle_##handler##_abort(const void *record) {                                                        \
        report(kind, record);                                                                                          \
    }

UNDEFINED_BEHAVIOUR(add_overflow, "signed addition overflows")
UNDEFINED_BEHAVIOUR(sub_overflow, "signed subtraction overflows")
UNDEFINED_BEHAVIOUR(mul_overflow, "signed multiplication overflows")
UNDEFINED_BEHAVIOUR(negate_overflow, "negation overflows")
UNDEFINED_BEHAVIOUR(divrem_overflow, "division overflows")
UNDEFINED_BEHAVIOUR(shift_out_of_bounds, "shift beyond the width")
UNDEFINED_BEHAVIOUR(out_of_bounds, "index out of bounds")
UNDEFINED_BEHAVIOUR(type_mismatch_v1, "null, misaligned or too small object")
UNDEFINED_BEHAVIOUR(alignment_assumption, "alignment assumption broken")
UNDEFINED_BEHAVIOUR(vla_bound_not_positive, "array size not positive")
UNDEFINED_BEHAVIOUR(load_invalid_value, "value that its type does not have")
UNDEFINED_BEHAVIOUR(float_cast_overflow, "conversion from floating point overflows")
UNDEFINED_BEHAVIOUR(nonnull_arg, "null argument where none may be")
UNDEFINED_BEHAVIOUR(nonnull_return_v1, "null result where none may be")
UNDEFINED_BEHAVIOUR(nullability_arg, "null argument where none may be")
UNDEFINED_BEHAVIOUR(nullability_return_v1, "null result where none may be")
UNDEFINED_BEHAVIOUR(pointer_overflow, "pointer arithmetic leaves the object")
UNDEFINED_BEHAVIOUR(invalid_builtin, "invalid argument of a built-in function")
UNDEFINED_BEHAVIOUR(builtin_unreachable, "unreachable code reached")
UNDEFINED_BEHAVIOUR(missing_return, "function ends without its result")
UNDEFINED_BEHAVIOUR(implicit_conversion, "implicit conversion changes the value")

#undef UNDEFINED_BEHAVIOUR
}
