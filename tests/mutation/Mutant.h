#pragma once

#if !defined(__GNUC__) || !defined(__x86_64__)
#error "The mutants are built by the GNU compiler only."
#endif

// What a mutated copy of the sources asks: which of its mutants is switched on. KAL_MUTANT in the environment names it;
// "record" switches none on and notes which ones were reached, in a new file whose name begins with KAL_MUTANT_REACHED.
//
// The environment is read from the process's own block and nothing is imported for it: tests count and fail the calls
// of the module they look at.

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
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

inline std::atomic<bool> reached[most];
inline char prefix[512];
inline std::atomic_flag noting = ATOMIC_FLAG_INIT; ///< somebody is at the notes

inline FILE *notes = nullptr;
inline bool notesAreClosed = false; ///< the module is on its way out, but what is destroyed late still has mutants

inline struct NotesCloser {
    ~NotesCloser() {
        if (notes != nullptr) {
            std::fclose(notes);
            notes = nullptr;
        }
        notesAreClosed = true;
    }
} notesCloser;

/// Written at once, and not when the process ends: some mutants stand where it ends badly.
inline void write(uint64_t process, int mutant) {
    if (notes == nullptr) {
        char path[sizeof prefix + 48]; // no memory: tests fail what is asked of it
        std::snprintf(path, sizeof path, "%s%llu-%llu", prefix, static_cast<unsigned long long>(process),
                      static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(reached)));
        notes = std::fopen(path, "ab");
    }
    if (notes == nullptr) {
        return;
    }
    std::fprintf(notes, "%d\n", mutant);
    std::fflush(notes);
    if (notesAreClosed) {
        std::fclose(notes);
        notes = nullptr;
    }
}

/// The caller's last error stays, which lies in the thread's own block.
inline void note(int mutant) {
    if (reached[mutant].load(std::memory_order_relaxed) || reached[mutant].exchange(true)) {
        return;
    }
    uint32_t lastError = 0;
    uint64_t process = 0;
    __asm__ volatile("movl %%gs:0x68, %0" : "=r"(lastError));
    __asm__("movq %%gs:0x40, %0" : "=r"(process));
    const int error = errno;
    while (noting.test_and_set(std::memory_order_acquire)) {
    }
    write(process, mutant);
    noting.clear(std::memory_order_release);
    errno = error;
    __asm__ volatile("movl %0, %%gs:0x68" : : "r"(lastError));
}

inline int read() {
    const std::string value = environment("KAL_MUTANT");
    if (value != "record") {
        return std::atoi(value.c_str());
    }
    environment("KAL_MUTANT_REACHED").copy(prefix, sizeof prefix - 1);
    return recording;
}

inline volatile int active = notRead;

inline bool isActive(int mutant) {
    if (active == notRead) {
        active = read(); // by several threads at once: they find the same
    }
    if (active == recording) {
        note(mutant);
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
