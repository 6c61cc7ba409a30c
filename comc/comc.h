/**
 * @file comc.h
 * @brief What kalclient.dll and the communication service's client library, comc.dll, agree on: the callbacks, the
 *        numbers they carry and the convention of every Orx* entry point.
 *
 * Each entry point is a C function of comc.dll, resolved by name, that returns 0 or a Win32-style error code. The
 * operations and their arguments are listed in OrxOperations.inc; a client identifier comes first in all of them but
 * the service-control ones.
 */
#ifndef COMC_H
#define COMC_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** OrxEnumPrinters: one call a printer. @return 0 to go on; the service ignores other values. */
typedef uint32_t (*OrxEnumCallback)(uint32_t handle);

/** OrxRegisterForAlertsPrinter: one alert. @return 0, or a Win32-style code when the client could not take it. */
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

#ifdef __cplusplus
}
#endif

#endif
