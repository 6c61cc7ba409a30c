#pragma once

// What a mutated copy of the sources asks: which of its mutants is switched on. KAL_MUTANT in the environment names it;
// "record" switches none on and notes which ones were reached, in a new file whose name begins with KAL_MUTANT_REACHED.
//
// The environment is read from the process's own block and nothing is imported for it: tests count and fail the calls
// of the module they look at.

#include <cstdint>
#include <cstdio>
#include <string>
#include <type_traits>

namespace kal::mutation {

inline constexpr int notRead = -1;
inline constexpr int none = 0; // mutants count from 1
inline constexpr int recording = -2;
inline constexpr int most = 8192;

/// The value of a variable; empty when it is not set.
inline std::string environment(const char *name) {
    const char *processBlock = nullptr;
    __asm__("movq %%gs:0x60, %0" : "=r"(processBlock));
    const char *const parameters = *reinterpret_cast<const char *const *>(processBlock + 0x20);
    const wchar_t *entry = *reinterpret_cast<const wchar_t *const *>(parameters + 0x80);
    while (*entry != 0) {
        const char *left = name;
        const wchar_t *right = entry;
        while (*left != 0 && static_cast<wchar_t>(*left) == *right) {
            ++left;
            ++right;
        }
        std::string value;
        const bool found = *left == 0 && *right == L'=';
        for (entry = right; *entry != 0; ++entry) {
            value += static_cast<char>(*entry);
        }
        if (found) {
            return value.substr(1);
        }
        ++entry;
    }
    return {};
}

inline bool reached[most];

struct Recorder {
    ~Recorder() {
        const std::string prefix = environment("KAL_MUTANT_REACHED");
        if (prefix.empty()) {
            return;
        }
        uint64_t process = 0;
        __asm__("movq %%gs:0x40, %0" : "=r"(process));
        const std::string path =
            prefix + std::to_string(process) + "-" + std::to_string(reinterpret_cast<uintptr_t>(reached));
        if (FILE *const file = std::fopen(path.c_str(), "ab")) {
            for (int mutant = 0; mutant < most; ++mutant) {
                if (reached[mutant]) {
                    std::fprintf(file, "%d\n", mutant);
                }
            }
            std::fclose(file);
        }
    }
};
inline Recorder recorder;

inline int read() {
    const std::string value = environment("KAL_MUTANT");
    return value == "record" ? recording : std::atoi(value.c_str());
}

inline volatile int active = notRead;

inline bool isActive(int mutant) {
    if (active == notRead) {
        active = read(); // by several threads at once: they find the same
    }
    if (active == recording) {
        reached[mutant] = true;
    }
    return active == mutant;
}

/// For functions that the compiler may run, too.
constexpr bool isActiveAtRun(int mutant) {
    if (std::is_constant_evaluated()) {
        return false;
    }
    return isActive(mutant);
}

/// The value under which a switch takes its default branch instead of that of one label.
template <class Value, class Label>
Value withoutLabel(bool dropped, Value value, Label label) {
    return dropped && value == static_cast<Value>(label) ? static_cast<Value>(0x7E) : value;
}

} // namespace kal::mutation
