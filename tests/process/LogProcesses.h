// What the tests and the processes they start agree on.
#pragma once

#include <cstdlib>
#include <string>

#include <windows.h>

namespace kal::test {

constexpr char parentVariable[] = "KAL_TEST_PARENT";

/// The process that started this one.
inline DWORD parentProcessId() {
    const char *text = std::getenv(parentVariable);
    return text == nullptr ? 0 : static_cast<DWORD>(std::strtoul(text, nullptr, 10));
}

/// A kernel object's name that only one test program and its children use.
inline std::string sharedName(const std::string &purpose, DWORD parent) {
    return "kal-processes-" + std::to_string(parent) + "-" + purpose;
}

} // namespace kal::test
