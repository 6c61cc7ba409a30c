// A comc.dll that does next to nothing, so that what is measured is the library.

#include "comc/comc.h"

#include <windows.h>

#include <cstring>

namespace {

OrxAlertCallback alertCallback = nullptr;
OrxNotificationCallback notificationCallback = nullptr;

void fill(char *buffer, uint32_t size, uint32_t *length, const char *text) {
    const uint32_t needed = static_cast<uint32_t>(std::strlen(text)) + 1;
    if (needed <= size) {
        std::memcpy(buffer, text, needed);
    }
    *length = needed;
}

uint32_t printerCount = 1; ///< that an enumeration finds

} // namespace

extern "C" {

uint32_t OrxInitialize() {
    return 0;
}
uint32_t OrxUninitialize() {
    return 0;
}
uint32_t OrxGetClientId(uint32_t *clientId, const char *) {
    *clientId = 7;
    return 0;
}
uint32_t OrxOpenPrinter(uint32_t, uint32_t) {
    return 0;
}
uint32_t OrxClosePrinter(uint32_t, uint32_t) {
    return 0;
}
uint32_t OrxStartJobPrinter(uint32_t, uint32_t, uint32_t, const char *, const char *, const char *, const char *) {
    return 0;
}
uint32_t OrxEndJobPrinter(uint32_t, uint32_t) {
    return 0;
}
uint32_t OrxCancelJobPrinter(uint32_t, uint32_t) {
    return 0;
}
uint32_t OrxWritePrinter(uint32_t, uint32_t, const void *, uint32_t byteCount, uint32_t *bytesWritten) {
    *bytesWritten = byteCount;
    return 0;
}
uint32_t OrxExchangeBidiPrinter(uint32_t, uint32_t, const void *, uint32_t, void *response, uint32_t responseSize,
                                uint32_t *returnedLength) {
    *returnedLength = responseSize < 16 ? responseSize : 16;
    std::memset(response, 0x5A, *returnedLength);
    return 0;
}
uint32_t OrxDiscovery(uint32_t, const char *, const char *) {
    return 0;
}
uint32_t OrxEnumPrinters(uint32_t, const char *, const char *, OrxEnumCallback callback) {
    for (uint32_t printer = 0; printer < printerCount; ++printer) {
        callback(printer & 0xFFFF);
    }
    return 0;
}
uint32_t OrxEnumSpecificPrinter(uint32_t, const char *, uint32_t *handle) {
    *handle = 3;
    return 0;
}
uint32_t OrxGetStringPrinter(uint32_t, uint32_t, const char *descriptor, char *buffer, uint32_t size,
                             uint32_t *length) {
    switch (descriptor[6]) { // behind "<Name>"
    case 'T':
        fill(buffer, size, length, "USB1");
        return 0;
    case 'D':
        fill(buffer, size, length, "BpdPrinter");
        return 0;
    default:
        fill(buffer, size, length, "USB001");
        return 0;
    }
}
uint32_t OrxGetByteArrayPrinter(uint32_t, uint32_t, const char *, void *buffer, uint32_t size, uint32_t *length) {
    std::memset(buffer, 0, size);
    *length = size;
    return 0;
}
uint32_t OrxSetByteArrayPrinter(uint32_t, uint32_t, const char *, const void *, uint32_t) {
    return 0;
}
uint32_t OrxSetJobStringPrinter(uint32_t, uint32_t, const char *, const char *) {
    return 0;
}
uint32_t OrxGetCachePrinter(uint32_t, uint32_t, void *buffer, uint32_t size, uint32_t *length) {
    *length = size < 32 ? size : 32;
    std::memset(buffer, 0xA5, *length);
    return 0;
}
uint32_t OrxGetCurrentStatePrinter(uint32_t, uint32_t, uint32_t *state) {
    *state = ORX_PRINTER_IDLE_AND_OKAY;
    return 0;
}
uint32_t OrxRegisterForAlertsPrinter(uint32_t, uint32_t, uint32_t, OrxAlertCallback callback) {
    alertCallback = callback;
    return 0;
}
uint32_t OrxUnregisterForAlertsPrinter(uint32_t, uint32_t) {
    return 0;
}
uint32_t OrxRegisterForNotificationsPrinter(uint32_t, uint32_t, uint32_t, OrxNotificationCallback callback) {
    notificationCallback = callback;
    return 0;
}
uint32_t OrxUnregisterForNotificationsPrinter(uint32_t, uint32_t) {
    return 0;
}

/// For the benches.
__declspec(dllexport) void BenchSetPrinterCount(uint32_t count) {
    printerCount = count;
}
__declspec(dllexport) OrxAlertCallback BenchAlertCallback() {
    return alertCallback;
}
__declspec(dllexport) OrxNotificationCallback BenchNotificationCallback() {
    return notificationCallback;
}

} // extern "C"
