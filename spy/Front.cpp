// comc.dll in front of the real one. It has every entry point that the real one has and no other, and hands each call
// to the recorder, which calls the real one. Without a recorder the calls go straight through.
#include "spy/EntryPoint.h"
#include "spy/ExportTable.h"
#include "spy/RecorderInterface.h"

#include <array>
#include <exception>
#include <string>
#include <utility>

#include <windows.h>

namespace {

using spy::AnyFunction;

HMODULE service = nullptr;
const spy::RecorderInterface *recorder = nullptr;
std::array<AnyFunction *, spy::entryPointCount> functions{};

template <class Function>
Function *find(HMODULE module, const char *name) noexcept {
    return reinterpret_cast<Function *>(reinterpret_cast<void *>(GetProcAddress(module, name)));
}

std::wstring folderOf(HMODULE module) {
    std::wstring name(32768, L'\0');
    name.resize(GetModuleFileNameW(module, name.data(), static_cast<DWORD>(name.size())));
    return name.substr(0, name.rfind(L'\\') + 1);
}

void tell(const char *what) noexcept {
    try {
        const auto code = std::to_string(GetLastError());
        OutputDebugStringA((std::string("comc.dll spy: ") + what + ", code " + code + "\n").c_str());
    } catch (const std::exception &) {
        // No memory for a message is no reason to change what the client sees.
    }
}

/// KAL_SPY_REAL names the real library, else it is comc-real.dll beside this one.
HMODULE loadService(HMODULE self, const std::wstring &folder) {
    std::wstring path(32768, L'\0');
    path.resize(GetEnvironmentVariableW(L"KAL_SPY_REAL", path.data(), static_cast<DWORD>(path.size())));
    const HMODULE loaded = LoadLibraryW(path.empty() ? (folder + L"comc-real.dll").c_str() : path.c_str());
    if (loaded == self && loaded != nullptr) {
        FreeLibrary(loaded);
        SetLastError(ERROR_CIRCULAR_DEPENDENCY);
        return nullptr;
    }
    return loaded;
}

const spy::RecorderInterface *loadRecorder(const std::wstring &folder) {
    const HMODULE module = LoadLibraryW((folder + L"comc-recorder.dll").c_str());
    auto *const ask =
        module == nullptr ? nullptr : find<spy::RecorderInterfaceFunction>(module, spy::recorderInterfaceName);
    const auto *const found = ask == nullptr ? nullptr : ask();
    return found != nullptr && found->size == sizeof(spy::RecorderInterface) ? found : nullptr;
}

bool attach(HMODULE self) {
    const auto folder = folderOf(self);
    service = loadService(self, folder);
    if (service == nullptr) {
        tell("comc-real.dll, the real library, cannot be loaded");
        return false;
    }
    const auto &entryPoints = spy::entryPoints();
    for (std::size_t index = 0; index < functions.size(); ++index) {
        functions[index] = find<AnyFunction>(service, entryPoints[index].name.c_str());
    }
    spy::removeExports(self, [](std::string_view name) { return GetProcAddress(service, name.data()) == nullptr; });
    recorder = loadRecorder(folder);
    if (recorder == nullptr) {
        tell("comc-recorder.dll cannot be loaded, nothing is recorded");
    } else {
        recorder->loaded(service, functions.data());
    }
    return true;
}

void detach() noexcept {
    if (recorder != nullptr) {
        recorder->unloading();
    }
    FreeLibrary(service);
}

std::uint64_t forward(spy::EntryPointIndex index, const std::uint64_t (&words)[spy::mostWords]) {
    auto *const function = functions[static_cast<std::size_t>(index)];
    if (recorder != nullptr) {
        return recorder->forward(static_cast<std::uint32_t>(index), function, words);
    }
    return function(words[0], words[1], words[2], words[3], words[4], words[5], words[6], words[7]);
}

} // namespace

// The words behind an entry point's last argument are the caller's stack and are handed on as they are.
#define ORX_ENTRY_POINT(name, client, parameters, arguments)                                                           \
    extern "C" __declspec(dllexport) std::uint64_t name(std::uint64_t a0, std::uint64_t a1, std::uint64_t a2,          \
                                                        std::uint64_t a3, std::uint64_t a4, std::uint64_t a5,          \
                                                        std::uint64_t a6, std::uint64_t a7) {                          \
        return forward(spy::EntryPointIndex::name, {a0, a1, a2, a3, a4, a5, a6, a7});                                  \
    }
#include "spy/OrxEntryPoints.inc"
#undef ORX_ENTRY_POINT

/// Loading libraries from here is what makes the spy look like the real library from the first moment on: whoever
/// loaded it may look names up as soon as this returns.
extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID processEnds) {
    if (reason == DLL_PROCESS_ATTACH) {
        try {
            return attach(module) ? TRUE : FALSE;
        } catch (const std::exception &) {
            return FALSE;
        }
    }
    if (reason == DLL_PROCESS_DETACH && processEnds == nullptr && service != nullptr) {
        detach();
    }
    return TRUE;
}
