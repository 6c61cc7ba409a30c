#pragma once

#include "tests/support/ImportHook.h"

#include <cstring>
#include <string>
#include <vector>

#include <winnetwk.h>

namespace kal::test {

/// Stands in for the machine's name and for mpr.dll in this program's own calls.
class NetworkStandIn {
  public:
    /// What the provider answers; 0: it knows the resource.
    DWORD answer = 0;
    /// Non-zero: mpr.dll cannot be loaded and leaves this error.
    DWORD loadError = 0;
    /// Non-zero: mpr.dll lacks the entry point; resolving it leaves this error.
    DWORD resolveError = 0;
    /// Empty: the computer name cannot be read.
    std::string computerName = "PRINTHOST";

    std::vector<std::string> loaded;
    std::vector<std::string> resolved;
    std::vector<std::string> asked; ///< remote names that the provider was asked for
    NETRESOURCEA resource = {};     ///< of the latest question; its strings are gone
    std::string output;             ///< the output buffer of the latest question as it came
    bool hasSystemPart = false;
    int computerNameReads = 0;
    DWORD computerNameSize = 0;
    int freed = 0;

    NetworkStandIn() { current = this; }
    ~NetworkStandIn() { current = nullptr; }

  private:
    static inline NetworkStandIn *current = nullptr;

    static HMODULE program() { return GetModuleHandleA(nullptr); }
    HMODULE module() { return reinterpret_cast<HMODULE>(this); }

    static DWORD WINAPI ask(NETRESOURCEA *question, void *buffer, DWORD *size, char **systemPart) {
        current->asked.emplace_back(question->lpRemoteName);
        current->resource = *question;
        current->output.assign(static_cast<const char *>(buffer), *size);
        current->hasSystemPart = systemPart != nullptr;
        return current->answer;
    }

    ImportHook<"GetComputerNameA", BOOL(char *, DWORD *)> computerName_{program(), [this](char *buffer, DWORD *size) {
                                                                            ++computerNameReads;
                                                                            computerNameSize = *size;
                                                                            if (computerName.empty()) {
                                                                                SetLastError(5);
                                                                                return FALSE;
                                                                            }
                                                                            std::strcpy(buffer, computerName.c_str());
                                                                            return TRUE;
                                                                        }};
    ImportHook<"LoadLibraryA", HMODULE(const char *)> load_{program(), [this](const char *name) -> HMODULE {
                                                                if (std::strstr(name, "comc.dll") != nullptr)
                                                                    return load_.original(name);
                                                                loaded.emplace_back(name);
                                                                if (loadError != 0) {
                                                                    SetLastError(loadError);
                                                                    return nullptr;
                                                                }
                                                                return module();
                                                            }};
    ImportHook<"GetProcAddress", FARPROC(HMODULE, const char *)> resolve_{
        program(), [this](HMODULE from, const char *name) -> FARPROC {
            if (from != module())
                return resolve_.original(from, name);
            resolved.emplace_back(name);
            if (resolveError != 0) {
                SetLastError(resolveError);
                return nullptr;
            }
            return reinterpret_cast<FARPROC>(reinterpret_cast<void *>(&ask));
        }};
    ImportHook<"FreeLibrary", BOOL(HMODULE)> free_{program(), [this](HMODULE which) -> BOOL {
                                                       if (which != module())
                                                           return free_.original(which);
                                                       ++freed;
                                                       SetLastError(0);
                                                       return TRUE;
                                                   }};
};

} // namespace kal::test
