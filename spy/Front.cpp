// A comc.dll that stands in for the real one. It exports the entry points that the real one exports. Each call goes to
// the recorder, which calls the real library; without a recorder, directly to the real library.
//
// Clients load and free comc.dll thousands of times per process. What the C++ runtime allocates per module (above all
// thread-local storage) is not released when the module is freed, so this file does not use the runtime.
#include "comc/EntryPointIndex.h"
#include "platform/ExportTable.h"
#include "spy/RecorderInterface.h"

#include <cstddef>
#include <cstdint>

#include <windows.h>

namespace {

using spy::AnyFunction;

HMODULE service = nullptr;
const spy::RecorderInterface *recorder = nullptr;
AnyFunction *functions[comc::entryPointCount];

constexpr const char *names[] = {
#define ORX_ENTRY_POINT(name, ...) #name,
#include "comc/EntryPoints.inc"
#undef ORX_ENTRY_POINT
};

template <class Function>
Function *find(HMODULE module, const char *name) noexcept {
    return reinterpret_cast<Function *>(reinterpret_cast<void *>(GetProcAddress(module, name)));
}

/// One buffer for paths is enough: it is used only under the loader lock.
constexpr DWORD longestPath = 32768;
wchar_t path[longestPath];

/// The path of a file in the same folder as this library.
const wchar_t *beside(HMODULE self, const wchar_t *fileName) noexcept {
    DWORD length = GetModuleFileNameW(self, path, longestPath);
    while (length > 0 && path[length - 1] != L'\\') {
        --length;
    }
    for (; length < longestPath - 1 && *fileName != 0; ++fileName) {
        path[length++] = *fileName;
    }
    path[length] = 0;
    return path;
}

/// Loads the library named by KAL_SPY_REAL; otherwise comc-real.dll in the same folder.
HMODULE loadService(HMODULE self) noexcept {
    const DWORD length = GetEnvironmentVariableW(L"KAL_SPY_REAL", path, longestPath);
    const bool isNamed = length > 0 && length < longestPath;
    const HMODULE loaded = LoadLibraryW(isNamed ? path : beside(self, L"comc-real.dll"));
    if (loaded == self && loaded != nullptr) {
        FreeLibrary(loaded); // it would call itself forever
        return nullptr;
    }
    return loaded;
}

/// All copies of the spy in a process share one recorder, and so one recording.
const spy::RecorderInterface *loadRecorder(HMODULE self) noexcept {
    constexpr const wchar_t *name = L"comc-recorder.dll";
    HMODULE module = GetModuleHandleW(name);
    if (module == nullptr) {
        module = LoadLibraryW(beside(self, name));
    }
    auto *const ask =
        module == nullptr ? nullptr : find<spy::RecorderInterfaceFunction>(module, spy::recorderInterfaceName);
    const auto *const found = ask == nullptr ? nullptr : ask();
    return found != nullptr && found->size == sizeof(spy::RecorderInterface) ? found : nullptr;
}

bool attach(HMODULE self) noexcept {
    service = loadService(self);
    if (service == nullptr) {
        OutputDebugStringA("comc.dll spy: comc-real.dll, the real library, cannot be loaded\n");
        return false;
    }
    for (size_t index = 0; index < comc::entryPointCount; ++index) {
        functions[index] = find<AnyFunction>(service, names[index]);
    }
    kal::ExportTable(self).remove([](const char *name) { return GetProcAddress(service, name) == nullptr; });
    recorder = loadRecorder(self);
    if (recorder == nullptr) {
        OutputDebugStringA("comc.dll spy: comc-recorder.dll cannot be loaded, nothing is recorded\n");
    } else {
        recorder->loaded(service, functions);
    }
    return true;
}

void detach() noexcept {
    if (recorder != nullptr) {
        recorder->unloading();
    }
    FreeLibrary(service);
}

uint64_t forward(comc::EntryPointIndex index, const uint64_t (&words)[comc::mostWords]) {
    auto *const function = functions[static_cast<size_t>(index)];
    if (recorder != nullptr) {
        return recorder->forward(static_cast<uint32_t>(index), function, words);
    }
    return function(words[0], words[1], words[2], words[3], words[4], words[5], words[6], words[7]);
}

} // namespace

// The words after an entry point's last argument come from the caller's stack; they are forwarded unchanged.
#define ORX_ENTRY_POINT(name, ...)                                                                                     \
    extern "C" __declspec(dllexport) uint64_t name(uint64_t a0, uint64_t a1, uint64_t a2, uint64_t a3, uint64_t a4,    \
                                                   uint64_t a5, uint64_t a6, uint64_t a7) {                            \
        return forward(comc::EntryPointIndex::name, {a0, a1, a2, a3, a4, a5, a6, a7});                                 \
    }
#include "comc/EntryPoints.inc"
#undef ORX_ENTRY_POINT

/// Loads the libraries here because a client may look up names as soon as LoadLibrary returns: the missing entry points
/// must be removed by then.
extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID processEnds) {
    if (reason == DLL_PROCESS_ATTACH) {
        return attach(module) ? TRUE : FALSE;
    }
    if (reason == DLL_PROCESS_DETACH && processEnds == nullptr && service != nullptr) {
        detach();
    }
    return TRUE;
}
