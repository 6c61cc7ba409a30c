#pragma once

#include "tests/support/ImportHook.h"

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <winnetwk.h>

namespace kal::test {

/// Replaces the computer name and mpr.dll for the calls of one module.
class NetworkStandIn {
  public:
    /// The provider's result; 0 means that it knows the resource.
    DWORD answer = 0;
    /// If not 0, mpr.dll cannot be loaded, with this error.
    DWORD loadError = 0;
    /// If not 0, mpr.dll lacks the entry point, with this error.
    DWORD resolveError = 0;
    /// Runs during the call of the provider.
    std::function<void()> duringTheQuestion;
    /// If empty, the computer name cannot be read.
    std::string computerName = "PRINTHOST";

    std::vector<std::string> loaded;
    std::vector<std::string> resolved;
    std::vector<std::string> asked; ///< remote names passed to the provider
    NETRESOURCEA resource = {};     ///< of the latest call; its strings are no longer valid
    std::string output;             ///< the output buffer before the latest call
    bool hasSystemPart = false;
    int computerNameReads = 0;
    DWORD computerNameSize = 0;
    int freed = 0;

    explicit NetworkStandIn(HMODULE caller) : caller_(caller) { current = this; }
    ~NetworkStandIn() { current = nullptr; }

  private:
    static inline NetworkStandIn *current = nullptr;

    HMODULE module() { return reinterpret_cast<HMODULE>(this); }

    HMODULE caller_;

    static DWORD WINAPI ask(NETRESOURCEA *question, void *buffer, DWORD *size, char **systemPart) {
        current->asked.emplace_back(question->lpRemoteName);
        current->resource = *question;
        current->output.assign(static_cast<const char *>(buffer), *size);
        current->hasSystemPart = systemPart != nullptr;
        if (current->duringTheQuestion)
            current->duringTheQuestion();
        return current->answer;
    }

    BOOL readComputerName(char *buffer, DWORD *size) {
        ++computerNameReads;
        computerNameSize = *size;
        if (computerName.empty()) {
            SetLastError(5);
            return FALSE;
        }
        std::strcpy(buffer, computerName.c_str());
        return TRUE;
    }

    HMODULE load(const char *name) {
        if (std::strcmp(name, "mpr.dll") != 0)
            return load_.original(name);
        loaded.emplace_back(name);
        SetLastError(loadError);
        return loadError == 0 ? module() : nullptr;
    }

    FARPROC resolve(HMODULE from, const char *name) {
        if (from != module())
            return resolve_.original(from, name);
        resolved.emplace_back(name);
        SetLastError(resolveError);
        return resolveError == 0 ? reinterpret_cast<FARPROC>(reinterpret_cast<void *>(&ask)) : nullptr;
    }

    BOOL free(HMODULE which) {
        if (which != module())
            return free_.original(which);
        ++freed;
        SetLastError(0); // freeing may change the last error; the error that matters was set before
        return TRUE;
    }

    ImportHook<"GetComputerNameA", BOOL(char *, DWORD *)> computerName_{
        caller_, [this](char *buffer, DWORD *size) { return readComputerName(buffer, size); }};
    ImportHook<"LoadLibraryA", HMODULE(const char *)> load_{caller_, [this](const char *name) { return load(name); }};
    ImportHook<"GetProcAddress", FARPROC(HMODULE, const char *)> resolve_{
        caller_, [this](HMODULE from, const char *name) { return resolve(from, name); }};
    ImportHook<"FreeLibrary", BOOL(HMODULE)> free_{caller_, [this](HMODULE which) { return free(which); }};
};

} // namespace kal::test
