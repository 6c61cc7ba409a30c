// comc.dll, the simulator, loaded the way a client loads it: environment, LoadLibrary, OrxInitialize, identifier.
#pragma once

#include "comc/comc.h"
#include "tests/support/StagedLibrary.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include <windows.h>

namespace kal::test {

/// One printer of each kind of transport with handles that are easy to read in a test.
inline constexpr const char *plainPrinters = R"("printers": [
  { "handle": 1, "transport": "USB1", "port": "USB001", "device": "BpdPrinter", "printingMs": 0 },
  { "handle": 2, "transport": "USB1", "port": "USB002", "device": "CpdPrinter", "printingMs": 0 }
])";

/// Milliseconds of a clock that is finer than the system's tick count.
inline uint64_t nowMs() {
    using namespace std::chrono;
    return static_cast<uint64_t>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

class LoadedSimulator {
  public:
    /// The built-in configuration.
    LoadedSimulator() { load(); }

    /// This text as configuration.
    explicit LoadedSimulator(const std::string &configuration) {
        SetEnvironmentVariableA("KAL_SIMULATOR_CONFIG", folder_.write("comc.json", configuration).c_str());
        load();
    }

    /// The plain printers and these members, for example R"("entryPoints": {...})".
    static std::string withPlainPrinters(const std::string &members) {
        return "{" + std::string(plainPrinters) + ", " + members + "}";
    }

    ~LoadedSimulator() {
        unload();
        SetEnvironmentVariableA("KAL_SIMULATOR_CONFIG", nullptr);
        SetEnvironmentVariableA("KAL_SIMULATOR_SPOOL", nullptr);
    }

    LoadedSimulator(const LoadedSimulator &) = delete;
    LoadedSimulator &operator=(const LoadedSimulator &) = delete;

    void unload() {
        if (module_ != nullptr) {
            if (GetProcAddress(module_, "OrxUninitialize") != nullptr)
                call<uint32_t()>("OrxUninitialize");
            FreeLibrary(module_);
            module_ = nullptr;
        }
    }

    void load() {
        SetEnvironmentVariableW(L"KAL_SIMULATOR_SPOOL", spool().c_str());
        module_ = LoadLibraryW((programFolder() / "comc.dll").c_str());
        if (module_ == nullptr)
            throw std::runtime_error("comc.dll cannot be loaded, code " + std::to_string(GetLastError()));
        if (GetProcAddress(module_, "OrxInitialize") != nullptr)
            initializeCode = call<uint32_t()>("OrxInitialize");
    }

    void reload() {
        unload();
        load();
    }

    /// Calls an entry point: call<uint32_t(uint32_t, uint32_t)>("OrxOpenPrinter", client, 1).
    template <class Function, class... Arguments>
    uint32_t call(const char *name, Arguments... arguments) const {
        return exported<Function>(module_, name)(arguments...);
    }

    uint32_t open(uint32_t handle) const { return call<uint32_t(uint32_t, uint32_t)>("OrxOpenPrinter", 7u, handle); }
    uint32_t close(uint32_t handle) const { return call<uint32_t(uint32_t, uint32_t)>("OrxClosePrinter", 7u, handle); }
    uint32_t start(uint32_t handle, const char *document = "document") const {
        return call<uint32_t(uint32_t, uint32_t, uint32_t, const char *, const char *, const char *, const char *)>(
            "OrxStartJobPrinter", 7u, handle, 0u, "", "", document, "");
    }
    uint32_t write(uint32_t handle, const std::string &bytes, uint32_t *written = nullptr) const {
        return call<uint32_t(uint32_t, uint32_t, const void *, uint32_t, uint32_t *)>(
            "OrxWritePrinter", 7u, handle, bytes.data(), static_cast<uint32_t>(bytes.size()), written);
    }
    uint32_t end(uint32_t handle) const { return call<uint32_t(uint32_t, uint32_t)>("OrxEndJobPrinter", 7u, handle); }
    uint32_t cancel(uint32_t handle) const {
        return call<uint32_t(uint32_t, uint32_t)>("OrxCancelJobPrinter", 7u, handle);
    }
    /// Open, start, write, end, close; the first code that is not 0.
    uint32_t print(uint32_t handle, const std::string &bytes) const {
        for (const auto code : {open(handle), start(handle), write(handle, bytes), end(handle), close(handle)})
            if (code != 0)
                return code;
        return 0;
    }
    uint32_t registerAlerts(uint32_t handle, OrxAlertCallback callback, uint32_t mask = 0xFFFFFFFF) const {
        return call<uint32_t(uint32_t, uint32_t, uint32_t, OrxAlertCallback)>("OrxRegisterForAlertsPrinter", 7u, handle,
                                                                              mask, callback);
    }
    uint32_t registerNotifications(uint32_t handle, OrxNotificationCallback callback,
                                   uint32_t mask = 0xFFFFFFFF) const {
        return call<uint32_t(uint32_t, uint32_t, uint32_t, OrxNotificationCallback)>(
            "OrxRegisterForNotificationsPrinter", 7u, handle, mask, callback);
    }

    HMODULE module() const { return module_; }
    std::filesystem::path spool() const { return folder_ / "spool"; }
    const TemporaryFolder &folder() const { return folder_; }

    /// Names of the files in the spool folder that end so, in order.
    std::vector<std::string> spooled(const std::string &extension) const {
        std::vector<std::string> names;
        std::error_code ignored;
        for (const auto &entry : std::filesystem::directory_iterator(spool(), ignored))
            if (entry.path().extension() == extension)
                names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    uint32_t initializeCode = 0xFFFFFFFF;

  private:
    TemporaryFolder folder_;
    HMODULE module_ = nullptr;
};

} // namespace kal::test
