// Replaces a system call in the import table of one loaded module while the hook exists.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include <windows.h>

namespace kal::test {

/// The location in a module's import table with the address of the imported function; null if the module does not
/// import it. Searches all imported libraries. A delayed import is resolved first.
void **findImport(HMODULE module, const char *name);

/// Names of the libraries that the module imports, at load and delayed.
std::vector<std::string> importedLibraries(HMODULE module);
/// Those that are loaded at the first call.
std::vector<std::string> delayedLibraries(HMODULE module);

/// Names of the functions that the module imports, at load and delayed, in table order.
std::vector<std::string> importedFunctions(HMODULE module);
/// Those whose library is loaded at the first call.
std::vector<std::string> delayedFunctions(HMODULE module);

/// Gives each delayed import its address, as the first calls would.
void resolveDelayedImports(HMODULE module);

/// Writes an address into the import table, whose page is normally read-only.
void writeImport(void **place, void *address);

/// Waits until no thread is inside a replacement. Ends the program with a message after half a minute.
void awaitZero(const std::atomic<int> &threadsInside, const char *name) noexcept;

/// A function's name as a template argument.
template <size_t Size>
struct ImportName {
    char text[Size];
    consteval ImportName(const char (&name)[Size]) { std::copy_n(name, Size, text); }
};

template <ImportName Name, typename Signature>
class ImportHook;

/// ImportHook<"Sleep", void(DWORD)> hook(module, [&](DWORD milliseconds) { ... });
///
/// Only calls from that module are replaced. There can be one hook per name and signature at a time. The replacement
/// may run on any thread and may call hook.original(...). The destructor waits until no thread is inside the
/// replacement; if one does not return, it ends the program.
template <ImportName Name, typename Result, typename... Arguments>
class ImportHook<Name, Result(Arguments...)> {
  public:
    using Replacement = std::function<Result(Arguments...)>;

    ImportHook(HMODULE module, Replacement replacement) : place_(findImport(module, Name.text)) {
        if (place_ == nullptr)
            throw std::logic_error(std::string("not imported: ") + Name.text);
        if (active != nullptr)
            throw std::logic_error(std::string("hooked already: ") + Name.text);
        replacement_ = std::move(replacement);
        original_ = reinterpret_cast<Function>(*place_);
        latestOriginal = original_;
        active = this;
        writeImport(place_, reinterpret_cast<void *>(&ImportHook::enter));
    }
    ~ImportHook() {
        writeImport(place_, reinterpret_cast<void *>(original_));
        active = nullptr;
        awaitZero(threadsInside, Name.text);
    }
    ImportHook(const ImportHook &) = delete;
    ImportHook &operator=(const ImportHook &) = delete;

    Result original(Arguments... arguments) const { return original_(arguments...); }
    /// Number of calls that the module made.
    int calls() const { return calls_; }

  private:
    using Function = Result(WINAPI *)(Arguments...);

    class Visit {
      public:
        Visit() { ++threadsInside; }
        Visit(const Visit &) = delete;
        Visit &operator=(const Visit &) = delete;
        ~Visit() { --threadsInside; }
    };

    static Result WINAPI enter(Arguments... arguments) {
        const Visit visit; // first, so that the hook found next is not destroyed
        ImportHook *const hook = active;
        if (hook == nullptr) // the hook was removed after this thread read the address
            return latestOriginal.load()(arguments...);
        ++hook->calls_;
        return hook->replacement_(arguments...);
    }

    static inline std::atomic<ImportHook *> active = nullptr;
    static inline std::atomic<Function> latestOriginal = nullptr;
    static inline std::atomic<int> threadsInside = 0;

    void **place_;
    Function original_ = nullptr;
    Replacement replacement_;
    std::atomic<int> calls_ = 0;
};

} // namespace kal::test
