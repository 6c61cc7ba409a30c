// Replaces a system call in the import table of one loaded module, for as long as the hook lives.
#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include <windows.h>

namespace kal::test {

/// The place in a module's import table that holds the address of the imported function, or null when the module does
/// not import it. Looks through all imported libraries.
void **findImport(HMODULE module, const char *name);

/// Names of the libraries in the module's import table.
std::vector<std::string> importedLibraries(HMODULE module);

/// Names of the functions in the module's import table, in its order.
std::vector<std::string> importedFunctions(HMODULE module);

/// Writes an address into the import table, whose page is normally read-only.
void writeImport(void **place, void *address);

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
/// Only calls out of that module are seen. One hook a name and signature at a time; the replacement may run on any
/// thread and may call hook.original(...).
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
        active = this;
        writeImport(place_, reinterpret_cast<void *>(&ImportHook::enter));
    }
    ~ImportHook() {
        writeImport(place_, reinterpret_cast<void *>(original_));
        active = nullptr;
    }
    ImportHook(const ImportHook &) = delete;
    ImportHook &operator=(const ImportHook &) = delete;

    Result original(Arguments... arguments) const { return original_(arguments...); }
    /// How often the module made the call.
    int calls() const { return calls_; }

  private:
    using Function = Result(WINAPI *)(Arguments...);

    static Result WINAPI enter(Arguments... arguments) {
        InterlockedIncrement(&active->calls_);
        return active->replacement_(arguments...);
    }

    static inline ImportHook *active = nullptr;

    void **place_;
    Function original_ = nullptr;
    Replacement replacement_;
    LONG calls_ = 0;
};

} // namespace kal::test
