// What an operation throws, comparable as a whole.
#pragma once

#include "platform/Exception.h"

#include <cstdint>
#include <ostream>
#include <string>

namespace kal::test {

struct Thrown {
    std::string message;
    uint32_t code = 0;
    std::string file;
    uint32_t line = 0;

    bool operator==(const Thrown &) const = default;
};

inline void PrintTo(const Thrown &thrown, std::ostream *stream) {
    *stream << '"' << thrown.message << "\" code " << thrown.code << " file \"" << thrown.file << "\" line "
            << thrown.line;
}

/// The Win32Exception that the operation throws; the message "nothing thrown" when it throws nothing.
template <class Operation>
Thrown thrownBy(Operation operation) {
    try {
        operation();
    } catch (const Win32Exception &exception) {
        return {exception.message(), exception.code(), exception.file, exception.line};
    }
    return {"nothing thrown", 0, "", 0};
}

} // namespace kal::test
