#pragma once

#include "bench/BenchLibrary.h"
#include "platform/SecurityEveryone.h"

#include <windows.h>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

/// The work that an export requires, written by hand: the system calls, locks and allocations of required.json, and the
/// direct call of the service. The ledger compares its counts with required.json. Times of the library are compared
/// with the times of this work.
class FloorWork {
  public:
    FloorWork(const BenchLibrary &library, LogState state);
    FloorWork(const FloorWork &) = delete;
    FloorWork &operator=(const FloorWork &) = delete;
    ~FloorWork();

    // The floors of the exports.
    void open(uint16_t handle);
    void close(uint16_t handle);
    void startDoc(uint16_t handle);
    void endDoc(uint16_t handle);
    void write(uint16_t handle, const void *data, uint32_t byteCount);
    void sendBidi(uint16_t handle, const uint8_t *request, uint32_t length);
    void enumPrinters();
    void alert(HWND window, uint16_t handle, const uint8_t *alert, uint32_t length);
    void setClientName(const char *name);
    /// The next alert has the first id again and takes the place of the one that had it.
    void restartAlertIds() { nextAlertId_ = 0; }

  private:
    void line(std::initializer_list<std::string_view> pieces);
    template <class Function>
    [[nodiscard]] Function *entryPoint(const char *name) const {
        return reinterpret_cast<Function *>(reinterpret_cast<void *>(GetProcAddress(service_, name)));
    }
    static unsigned __stdcall openOnThread(void *record);
    static uint32_t foundPrinter(uint32_t handle);

    [[nodiscard]] bool levelTest();
    void traceTest();
    void message(std::string_view text);
    /// @return the description, which must outlive the entry line; empty while nothing is logged
    [[nodiscard]] std::string enter(std::string_view text);
    void leave(const std::string &description, std::string_view result = {});
    void firstDepthOfThread();
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

    /// As large as the library's entry for a thread in its indentation map.
    struct ThreadDepth {
        ThreadDepth *next;
        void *rest[4];
    };

    static FloorWork *current_;

    LogState state_;
    std::string key_;
    std::string logPath_;
    HMODULE service_;
    HANDLE logLock_;
    HANDLE alertIdLock_;
    kal::SecurityEveryone security_{false};
    CRITICAL_SECTION registrations_;
    CRITICAL_SECTION loads_;
    CRITICAL_SECTION identifiers_;
    CRITICAL_SECTION handles_;
    CRITICAL_SECTION depths_;
    std::vector<StoredAlert> alerts_ =
        std::vector<StoredAlert>(65536); ///< by id; each stays until its id comes round again
    uint16_t nextAlertId_ = 0;
    int depth_ = 0;
    ThreadDepth *threads_ = nullptr;
    KalPortCallback callback_ = nullptr; ///< asked for each printer, as nobody can know that it is none
    char clientName_[260] = {};
};

} // namespace bench
