/**
 * @file comc.h
 * @brief The contract between kalclient.dll and comc.dll, the client library of the communication service.
 *
 * Every entry point is a C function that the client looks up by name, so comc.dll may lack some of them.
 *
 * - Each returns 0 or a Win32 error code.
 * - `clientId` is the identifier that OrxGetClientId assigned. Only the functions of the library's life and of service
 *   control lack it.
 * - `handle` identifies a device; a printer's handle has 16 significant bits.
 * - Strings are null-terminated and stay the caller's. `transport` is "IPv4", "USB1" or "PAR1"; `property` and
 *   `descriptor` name a property, a descriptor as "<Name>N</Name><Type>T</Type><Access>A</Access>".
 * - `size` is the size of the caller's buffer in bytes; `length` receives the number of bytes that the value needs,
 *   and 122 (ERROR_INSUFFICIENT_BUFFER) says that the buffer is too small.
 * - Any thread may call any function. Callbacks come on threads of the service.
 */
#ifndef COMC_H
#define COMC_H

#include <stdint.h>
#ifndef __cplusplus
#include <wchar.h>
#endif

/* A library that implements the contract defines ORX_BUILDING_SERVICE and so exports what it defines. */
#ifdef ORX_BUILDING_SERVICE
#define ORX_API __declspec(dllexport)
#else
#define ORX_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** OrxEnumPrinters: one call per printer. @return 0 to go on; the service ignores other values. */
typedef uint32_t (*OrxEnumCallback)(uint32_t handle);

/** OrxRegisterForAlertsPrinter: one alert. @return 0, or a Win32 error code when the client could not take it. */
typedef uint32_t (*OrxAlertCallback)(uint32_t handle, const uint8_t *alert, uint32_t length);

/** OrxRegisterForNotificationsPrinter: one notification; the flag (may be null) belongs to the true end of job. */
typedef uint32_t (*OrxNotificationCallback)(uint32_t handle, uint32_t category, uint32_t notification,
                                            const uint32_t *endOfJobFlag, void *reserved5, void *reserved6);

enum { ORX_NOTIFICATION_CATEGORY_PRINTER = 1 };

enum {
    ORX_PRINTER_PRINTING_AND_OKAY = 1,
    ORX_PRINTER_PRINTING_AND_ERROR = 2,
    ORX_PRINTER_IDLE_AND_OKAY = 3,
    ORX_NOTIFICATION_START_JOB_REQUESTED = 4,
    ORX_NOTIFICATION_FIRST_WRITE = 5,
    ORX_NOTIFICATION_END_JOB_REQUESTED = 6,
    ORX_NOTIFICATION_JOB_CANCELED = 7,
    ORX_NOTIFICATION_TRUE_END_OF_JOB = 8
};

#define ORX_NOTIFICATIONS_ALL 0xFFFFFFFFu /**< mask for OrxRegisterForNotificationsPrinter */

/* clang-format off */

/* The library's life */

/** Called once after each load, before any other function. */
ORX_API uint32_t OrxInitialize(void);
/** Called once before each unload. */
ORX_API uint32_t OrxUninitialize(void);
/** Assigns an identifier for the calls of one client; an empty server name means this machine. */
ORX_API uint32_t OrxGetClientId(uint32_t *clientId, const char *serverName);
/** Attaches information about the client; name and value are passed as the caller gave them. */
ORX_API uint32_t OrxSetClientInfo(uint32_t clientId, const void *name, const void *value);
ORX_API uint32_t OrxGetHostInfo(uint32_t clientId, const char *name, void *buffer, uint32_t size, uint32_t *length);
ORX_API uint32_t OrxSetHostInfo(uint32_t clientId, const char *name, const void *bytes, uint32_t length);

/* Finding devices */

/** Starts a search on a transport; the devices that it finds can be enumerated. */
ORX_API uint32_t OrxDiscovery(uint32_t clientId, const char *transport, const char *property);
ORX_API uint32_t OrxCancelDiscovery(uint32_t clientId, const char *transport, const char *property);
ORX_API uint32_t OrxGetDiscoveryDefaults(uint32_t clientId, const char *transport, void *buffer, uint32_t size, uint32_t *length);
ORX_API uint32_t OrxSetDiscoveryDefaults(uint32_t clientId, const char *transport, const void *defaults);
/** Calls the callback once per known device of the transport, on the caller's thread, before it returns. */
ORX_API uint32_t OrxEnumPrinters(uint32_t clientId, const char *transport, const char *property, OrxEnumCallback callback);
ORX_API uint32_t OrxEnumHids(uint32_t clientId, const char *transport, const char *property, OrxEnumCallback callback);
ORX_API uint32_t OrxEnumScanners(uint32_t clientId, const char *transport, const char *property, OrxEnumCallback callback);
ORX_API uint32_t OrxEnumCardReaders(uint32_t clientId, const char *transport, const char *property, OrxEnumCallback callback);
/** As above, for the devices that are installed in Windows. */
ORX_API uint32_t OrxEnumWindowsPrinters(uint32_t clientId, const char *transport, const char *property, OrxEnumCallback callback);
ORX_API uint32_t OrxEnumWindowsHids(uint32_t clientId, const char *transport, const char *property, OrxEnumCallback callback);
ORX_API uint32_t OrxEnumWindowsScanners(uint32_t clientId, const char *transport, const char *property, OrxEnumCallback callback);
/** Finds the device at a port; `handle` receives its handle. */
ORX_API uint32_t OrxEnumSpecificPrinter(uint32_t clientId, const char *portName, uint32_t *handle);
ORX_API uint32_t OrxEnumSpecificHid(uint32_t clientId, const char *portName, uint32_t *handle);
ORX_API uint32_t OrxEnumSpecificScanner(uint32_t clientId, const char *portName, uint32_t *handle);
ORX_API uint32_t OrxEnumSpecificCardReader(uint32_t clientId, const char *portName, uint32_t *handle);
ORX_API uint32_t OrxValidatePortName(uint32_t clientId, const char *portName);

/* Opening and closing; each successful open needs one close. */

ORX_API uint32_t OrxOpenPrinter(uint32_t clientId, uint32_t handle);
ORX_API uint32_t OrxClosePrinter(uint32_t clientId, uint32_t handle);
/** Removes the device from the service's list. */
ORX_API uint32_t OrxDeletePrinter(uint32_t clientId, uint32_t handle);
ORX_API uint32_t OrxOpenHid(uint32_t clientId, uint32_t handle);
ORX_API uint32_t OrxCloseHid(uint32_t clientId, uint32_t handle);
ORX_API uint32_t OrxDeleteHid(uint32_t clientId, uint32_t handle);
ORX_API uint32_t OrxOpenScanner(uint32_t clientId, uint32_t handle);
ORX_API uint32_t OrxCloseScanner(uint32_t clientId, uint32_t handle);
ORX_API uint32_t OrxOpenCardReader(uint32_t clientId, uint32_t handle);
ORX_API uint32_t OrxCloseCardReader(uint32_t clientId, uint32_t handle);

/* Jobs of printers and scanners */

ORX_API uint32_t OrxStartJobPrinter(uint32_t clientId, uint32_t handle, uint32_t kind, const char *user, const char *host, const char *documentName, const char *options);
ORX_API uint32_t OrxStartJobPrinterW(uint32_t clientId, uint32_t handle, uint32_t kind, const wchar_t *user, const wchar_t *host, const wchar_t *documentName, const wchar_t *options);
/** Sends part of the job's document; `bytesWritten` receives the number of bytes taken, which may be fewer. */
ORX_API uint32_t OrxWritePrinter(uint32_t clientId, uint32_t handle, const void *data, uint32_t byteCount, uint32_t *bytesWritten);
ORX_API uint32_t OrxEndJobPrinter(uint32_t clientId, uint32_t handle);
ORX_API uint32_t OrxCancelJobPrinter(uint32_t clientId, uint32_t handle);
/** Sets an attribute of the next or the running job. */
ORX_API uint32_t OrxSetJobStringPrinter(uint32_t clientId, uint32_t handle, const char *key, const char *value);
ORX_API uint32_t OrxStartJobScanner(uint32_t clientId, uint32_t handle, const void *job);
/** Sends a request to the scanner and receives its response, which is scanned data as well. */
ORX_API uint32_t OrxExchangeDataScanner(uint32_t clientId, uint32_t handle, const void *request, uint32_t requestLength, void *response, uint32_t responseSize, uint32_t *returnedLength);
ORX_API uint32_t OrxEndJobScanner(uint32_t clientId, uint32_t handle);
ORX_API uint32_t OrxCancelJobScanner(uint32_t clientId, uint32_t handle);
ORX_API uint32_t OrxSetJobStringScanner(uint32_t clientId, uint32_t handle, const char *key, const char *value);
ORX_API uint32_t OrxGetJobStringScanner(uint32_t clientId, uint32_t handle, const char *key, char *buffer, uint32_t size, uint32_t *length);

/* Requests to a device and its responses */

/** Sends a request and waits for the response; `returnedLength` receives the response's length. */
ORX_API uint32_t OrxExchangeBidiPrinter(uint32_t clientId, uint32_t handle, const void *request, uint32_t requestLength, void *response, uint32_t responseSize, uint32_t *returnedLength);
ORX_API uint32_t OrxExchangeNpaPrinter(uint32_t clientId, uint32_t handle, const void *request, uint32_t requestLength, void *response, uint32_t responseSize, uint32_t *returnedLength);
ORX_API uint32_t OrxExchangeBidiCardReader(uint32_t clientId, uint32_t handle, const void *request, uint32_t requestLength, void *response, uint32_t responseSize, uint32_t *returnedLength);

/* Properties and states */

ORX_API uint32_t OrxGetByteArrayPrinter(uint32_t clientId, uint32_t handle, const char *descriptor, void *buffer, uint32_t size, uint32_t *length);
ORX_API uint32_t OrxSetByteArrayPrinter(uint32_t clientId, uint32_t handle, const char *descriptor, const void *bytes, uint32_t length);
ORX_API uint32_t OrxGetLongPrinter(uint32_t clientId, uint32_t handle, const char *descriptor, uint32_t *value);
ORX_API uint32_t OrxSetLongPrinter(uint32_t clientId, uint32_t handle, const char *descriptor, uint32_t value);
ORX_API uint32_t OrxGetStringPrinter(uint32_t clientId, uint32_t handle, const char *descriptor, char *buffer, uint32_t size, uint32_t *length);
/** `length` counts the bytes of the value. */
ORX_API uint32_t OrxSetStringPrinter(uint32_t clientId, uint32_t handle, const char *descriptor, const char *value, uint32_t length);
/** Returns what the service has stored of the printer, in the printer's own format. */
ORX_API uint32_t OrxGetCachePrinter(uint32_t clientId, uint32_t handle, void *buffer, uint32_t size, uint32_t *length);
/** `state` receives one of ORX_PRINTER_*. */
ORX_API uint32_t OrxGetCurrentStatePrinter(uint32_t clientId, uint32_t handle, uint32_t *state);
ORX_API uint32_t OrxGetStringHid(uint32_t clientId, uint32_t handle, const char *descriptor, char *buffer, uint32_t size, uint32_t *length);
ORX_API uint32_t OrxGetLongHid(uint32_t clientId, uint32_t handle, const char *descriptor, uint32_t *value);
ORX_API uint32_t OrxGetCurrentStateHid(uint32_t clientId, uint32_t handle, uint32_t *state);
ORX_API uint32_t OrxGetLongScanner(uint32_t clientId, uint32_t handle, const char *descriptor, uint32_t *value);
ORX_API uint32_t OrxGetStringScanner(uint32_t clientId, uint32_t handle, const char *descriptor, char *buffer, uint32_t size, uint32_t *length);
ORX_API uint32_t OrxSetStringScanner(uint32_t clientId, uint32_t handle, const char *descriptor, const char *value, uint32_t length);
ORX_API uint32_t OrxGetCurrentStateScanner(uint32_t clientId, uint32_t handle, uint32_t *state);
ORX_API uint32_t OrxGetWiaScannerInfo(uint32_t clientId, const char *name, void *buffer, uint32_t size, uint32_t *length);

/* Events. A registration lasts until the matching unregistration. */

/** `mask` selects the alerts. */
ORX_API uint32_t OrxRegisterForAlertsPrinter(uint32_t clientId, uint32_t handle, uint32_t mask, OrxAlertCallback callback);
ORX_API uint32_t OrxUnregisterForAlertsPrinter(uint32_t clientId, uint32_t handle);
/** `mask` selects the notifications; ORX_NOTIFICATIONS_ALL selects all. */
ORX_API uint32_t OrxRegisterForNotificationsPrinter(uint32_t clientId, uint32_t handle, uint32_t mask, OrxNotificationCallback callback);
ORX_API uint32_t OrxUnregisterForNotificationsPrinter(uint32_t clientId, uint32_t handle);
ORX_API uint32_t OrxRegisterForReportsHid(uint32_t clientId, uint32_t handle, const void *callback);
ORX_API uint32_t OrxUnregisterForReportsHid(uint32_t clientId, uint32_t handle);
/** Reports of every HID device. */
ORX_API uint32_t OrxRegisterForReportsHids(uint32_t clientId, const void *callback);
ORX_API uint32_t OrxUnregisterForReportsHids(uint32_t clientId);
ORX_API uint32_t OrxRegisterForNotificationsHid(uint32_t clientId, uint32_t handle, const void *callback);
ORX_API uint32_t OrxUnregisterForNotificationsHid(uint32_t clientId, uint32_t handle);
ORX_API uint32_t OrxRegisterForAsyncDataScanner(uint32_t clientId, uint32_t handle, uint32_t mask, const void *callback);
ORX_API uint32_t OrxUnregisterForAsyncDataScanner(uint32_t clientId, uint32_t handle);
/** Reports of every card reader. */
ORX_API uint32_t OrxRegisterForReportsCardReader(uint32_t clientId, const void *callback);
ORX_API uint32_t OrxUnregisterForReportsCardReader(uint32_t clientId);
ORX_API uint32_t OrxRegisterForNotificationsCardReader(uint32_t clientId, uint32_t handle, const void *callback);
ORX_API uint32_t OrxUnregisterForNotificationsCardReader(uint32_t clientId, uint32_t handle);
ORX_API uint32_t OrxRegisterForAsyncDataCardReader(uint32_t clientId, uint32_t handle, const void *callback);
ORX_API uint32_t OrxUnregisterForAsyncDataCardReader(uint32_t clientId, uint32_t handle);
/** Events of the service itself. */
ORX_API uint32_t OrxRegisterForSystemNotifications(uint32_t clientId, uint32_t mask, const void *callback);
ORX_API uint32_t OrxUnregisterForSystemNotifications(uint32_t clientId);

/* Control of the service */

ORX_API uint32_t OrxInstall(void);
ORX_API uint32_t OrxUninstall(void);
ORX_API uint32_t OrxResume(void);
ORX_API uint32_t OrxSuspend(void);
ORX_API uint32_t OrxAddTransport(const char *transport);
ORX_API uint32_t OrxRemoveTransport(const char *transport);
ORX_API uint32_t OrxAddMonitor(void);

/* clang-format on */

#ifdef __cplusplus
}
#endif

#endif
