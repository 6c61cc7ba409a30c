#pragma once

#include "bench/BenchLibrary.h"

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

namespace bench {

/// The work that an export cannot do without, written by hand: the required system calls, locks and allocations
/// (required.json says why each is required) and the direct call of the service. What the library takes is measured
/// against this.
class FloorWork {
  public:
    FloorWork(const BenchLibrary &library, LogState state);
    FloorWork(const FloorWork &) = delete;
    FloorWork &operator=(const FloorWork &) = delete;
    ~FloorWork();

    // The floors of the exports.
    void openAndClose(uint16_t handle);
    void startAndEndDoc(uint16_t handle);
    void write(uint16_t handle, const void *data, uint32_t byteCount);
    void sendBidi(uint16_t handle, const uint8_t *request, uint32_t length);
    void enumPrinters();
    void alert(HWND window, uint16_t handle, const uint8_t *alert, uint32_t length);
    /// A level test and its line.
    void lineOnly(const char *text) { message(text); }

  private:
    void line(const char *text, size_t length);
    template <class Function>
    [[nodiscard]] Function *entryPoint(const char *name) const {
        return reinterpret_cast<Function *>(reinterpret_cast<void *>(GetProcAddress(service_, name)));
    }
    static unsigned __stdcall openOnThread(void *record);
    static uint32_t foundPrinter(uint32_t handle);

    [[nodiscard]] bool levelTest();
    void traceTest();
    void message(const char *text);
    void enter(const char *text);
    void leave(const char *text);
    void lockPair(CRITICAL_SECTION &section);
    void takeReferences();
    void giveBack();
    void readString(uint32_t handle, const char *descriptor, char *buffer, uint32_t size);
    void serviceOpen(uint16_t handle);
    void serviceClose(uint16_t handle);
    [[nodiscard]] HANDLE openLog(DWORD disposition);

    struct StoredAlert {
        void *object = nullptr;
        void *bytes = nullptr;
    };

    static FloorWork *current_;

    LogState state_;
    std::string key_;
    std::string logPath_;
    HMODULE service_;
    HANDLE logLock_;
    HANDLE alertIdLock_;
    CRITICAL_SECTION loads_;
    CRITICAL_SECTION identifiers_;
    CRITICAL_SECTION handles_;
    CRITICAL_SECTION depths_;
    std::vector<StoredAlert> alerts_ =
        std::vector<StoredAlert>(65536); ///< by id; each stays until its id comes round again
    uint16_t nextAlertId_ = 0;
    int depth_ = 0;
};

} // namespace bench
