#pragma once

#include "bench/BenchLibrary.h"

#include <windows.h>

#include <cstdint>

namespace bench {

/// The exports that the curves need, and how they are called there.
struct Exports {
    explicit Exports(const BenchLibrary &library)
        : write(library.get<decltype(KalWrite)>("KalWrite")),
          captureAlerts(library.get<decltype(KalCaptureAlerts)>("KalCaptureAlerts")),
          releaseAlerts(library.get<decltype(KalReleaseAlerts)>("KalReleaseAlerts")),
          queryAlerts(library.get<decltype(KalQueryAlerts)>("KalQueryAlerts")),
          enumPrinters(library.get<decltype(KalEnumPrinters)>("KalEnumPrinters")),
          setClientName(library.get<decltype(KalSetClientName)>("KalSetClientName")) {}

    decltype(KalWrite) *write;
    decltype(KalCaptureAlerts) *captureAlerts;
    decltype(KalReleaseAlerts) *releaseAlerts;
    decltype(KalQueryAlerts) *queryAlerts;
    decltype(KalEnumPrinters) *enumPrinters;
    decltype(KalSetClientName) *setClientName;

    /// Opens a handle, on this thread; KalOpen would start one for each.
    void openQuickly(uint32_t handle, HWND window = nullptr) const {
        const uint32_t mask = 1;
        captureAlerts(0, static_cast<uint16_t>(handle), &mask, window);
    }
    void closeQuickly(uint32_t handle) const { releaseAlerts(0, static_cast<uint16_t>(handle)); }
    void writeTo(uint32_t handle) const {
        static constexpr char document[4096] = {};
        uint32_t count = sizeof document;
        write(0, static_cast<uint16_t>(handle), 0, document, &count);
    }
};

/// Opens a printer and leaves it so: comc.dll stays loaded, although every release closes twice.
inline void keepServiceLoaded(const BenchLibrary &library) {
    for (int opens = 0; opens < 2; ++opens) {
        library.get<decltype(KalOpen)>("KalOpen")(0, 0xFFFF, 0);
    }
}

} // namespace bench
