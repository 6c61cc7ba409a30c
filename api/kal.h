/**
 * @file kal.h
 * @brief The interface of kalclient.dll, the client-side printer communication library.
 *
 * An application registers (::KalRegisterApp), opens a printer by its 16-bit handle (::KalOpen), uses it and closes it
 * (::KalClose). The header is valid in C (C11) and C++ (C++11 and later), for 64-bit Windows only.
 *
 * **Results.** Exports return a signed 32-bit result. ::KAL_OKAY is 0, ::KAL_FAIL is +1, and every device error is
 * negative. Compare with ::KAL_OKAY; a test for negative results misses ::KAL_FAIL.
 *
 * **Before the first registration.** Every export opens a trace first. The trace needs the logger, which exists from
 * the first registration to the last unregistration. While no application is registered, exports therefore throw a C++
 * exception (Win32Exception, "BasicLogger::getInstance()", code 1). Only ::Initialize, ::Uninitialize,
 * ::KalRegisterApp, ::KalRegisterWithRpcServer, ::KalUnregisterApp and ::KalSetClientName do not throw; the aliases
 * ::KalRegisterAppLM and ::KalUnregisterAppLM do. After ::KalRegisterWithRpcServer returned -12, and until a
 * registration succeeds, the exports that would throw return ::KAL_FAIL instead (or their fixed result) and log
 * nothing.
 *
 * **Threads.** Unless its comment says otherwise, an export may be called from any thread, also from several at once,
 * and runs on the caller's thread. Only registration is serialised: no other export may run while another thread makes
 * the last unregistration. The last unregistration waits for callbacks of the service (::KalUnregisterApp).
 *
 * **Blocking.** An export blocks until the communication service responds. The library does not add a timeout.
 *
 * **Null pointers.** If a required pointer is null, the export does not call the service, logs "NAME() ARGUMENT = NULL"
 * and returns ::KAL_FAIL. A null client callback is allowed.
 *
 * **The service.** "The service" is the communication service, which the library calls through the comc.dll in the
 * folder of kalclient.dll. If comc.dll is missing or cannot be started, the service's code counts as 126; if it lacks
 * an entry point, as 127. Unless an export's comment lists them, it returns ::KAL_FAIL for both.
 */
#ifndef KAL_H
#define KAL_H

#include <stdint.h>

/**
 * @defgroup version Version
 * @brief The version of this header, as numbers for the preprocessor. The DLL's own version is in its file properties.
 * @{
 */
#define KAL_VERSION_MAJOR 1 /**< increases when programs have to be changed */
#define KAL_VERSION_MINOR 0 /**< increases when something is added */
#define KAL_VERSION_PATCH 0 /**< increases when something is corrected */
/** @} */

#ifdef __cplusplus
extern "C" {
#endif

/** @cond */
#if defined(KAL_BUILDING_LIBRARY)
#define KAL_API
#else
#define KAL_API __declspec(dllimport)
#endif

/* For an export that accepts any arguments and does not read them. C before C23 uses an empty parameter list for that.
 */
#if defined(__cplusplus) || (defined(__STDC_VERSION__) && __STDC_VERSION__ >= 202311L)
#define KAL_ARGUMENTS_NOT_READ ...
#else
#define KAL_ARGUMENTS_NOT_READ
#endif
/** @endcond */

/**
 * @defgroup results Result codes
 * @brief The results of exports: the number, and its name in the log.
 *
 * ::KAL_OKAY is 0, ::KAL_FAIL is +1 and every other error is negative: compare with ::KAL_OKAY. @ref results_page says
 * what to do about each result; @ref service_codes_page lists the codes of the service that lead to it.
 * @{
 */
#define KAL_OKAY 0            /**< the operation succeeded */
#define KAL_FAIL 1            /**< any failure without a more specific code; positive, unlike all others */
#define DEVERR_INVHANDLE (-8) /**< the handle is not open, or the service reports an invalid handle */
#define DEVERR_CONNECT (-10)  /**< the service cannot reach or find the device */
#define DEVERR_PROTOCOL (-14) /**< the port type is not valid for the handle, or the device refused a write */
#define DEVERR_READFAIL (-17) /**< the device's response could not be read in time */
#define KAL_MOREDATA (-18)    /**< the caller's buffer is too small; the needed size is reported */
#define KAL_PRNBUSY (-27)     /**< the printer is busy */

#define KAL_REGISTRATION_REFUSED (-12) /**< ::KalRegisterWithRpcServer: the server cannot be reached */
#define KAL_INVALID_FUNCTION (-15)     /**< ::KalSendBidi: no request has this function code */
/** @} */

/**
 * @defgroup net_types Net types and port-type codes
 * @brief Kinds of printers: bits of a mask for enumerations, and the port-type code of one printer.
 *
 * A job's port type must be valid for the printer's handle. Take it from PortInfoRecord::portType, or pass
 * ::KAL_PORT_TYPE_ANY.
 * @{
 */
#define NETTYPE_IP 0x2u                /**< network printer over IPv4 ("IPv4") */
#define ENUM_P2P 0x10u                 /**< mask only: accept a found port of any net type */
#define NETTYPE_RHOA 0x200u            /**< host-based network printer with a MAC address ("HBN1", "HBN3") */
#define NETTYPEUSB 0x400u              /**< USB printer ("USB1"), and any printer whose transport cannot be read */
#define NETTYPE_LOCAL 0x800u           /**< parallel-port printer ("PAR1") */
#define KAL_DISCOVER_FIRST 0x80000000u /**< mask only, ::KalEnumPrinters: discover devices before enumerating */
#define KAL_PORT_TYPE_UNSPECIFIED 0u   /**< port type that is valid for every handle */
#define KAL_PORT_TYPE_ANY 4095u        /**< port type that is valid for every handle */
/** @} */

/**
 * @defgroup messages Window messages
 * @brief Posted to the window passed to ::KalCaptureAlerts.
 *
 * wParam: printer handle in the low 16 bits; alert id, flag or state in the high 16 bits. Fetch an alert's bytes with
 * ::KalQueryAlerts and the alert id. @ref messages_page says when each message is posted.
 * @{
 */
#define WM_KAL_DSA 0x05F4              /**< WM_USER+500: power-on reset of a CpdPrinter; alert id high */
#define WM_KAL_TONERPREDICTION 0x0600  /**< WM_USER+512: toner prediction of a BpdPrinter; alert id high */
#define WM_KAL_ENDOFJOB 0x0601         /**< WM_USER+513: true end of job; flag high; lParam: port-type code */
#define WM_KAL_PRINTERSTATUS 0x063C    /**< WM_USER+572: printer state (0 idle, 1 printing, 3 error) high */
#define WM_KAL_JOBOIRALERTEX 0x063D    /**< WM_USER+573: extended alert of type 1; alert id high */
#define WM_KAL_WARNINGSEX 0x063E       /**< WM_USER+574: extended alert of type 2; alert id high */
#define WM_KAL_CONFIGCHANGEEX 0x063F   /**< WM_USER+575: extended alert of type 4; alert id high */
#define WM_KAL_CPD_STATUSCHANGE 0x0640 /**< WM_USER+576: any other valid alert of a CpdPrinter; alert id high */
/** @} */

/**
 * @defgroup records Records and callbacks
 * @brief The records of the interface, and the callback that an application passes to an enumeration.
 * @{
 */
#define KAL_DEVICE_CLASS_BPD 3 /**< PortInfoRecord::deviceClass of every device that is not a CpdPrinter */
#define KAL_DEVICE_CLASS_CPD 8 /**< PortInfoRecord::deviceClass of a CpdPrinter */

#define KAL_PORT_NAME_SIZE 80       /**< bytes of PortInfoRecord::portName, with the terminator */
#define KAL_SECOND_NAME_OFFSET 100  /**< offset of PortInfoRecord::secondName */
#define KAL_SECOND_NAME_MINIMUM 260 /**< minimum size of PortInfoRecord::secondName in bytes */

/**
 * A found printer, passed to a ::KalPortCallback. The library owns the record; it is valid only during the callback.
 * The array of the second name has the minimum size: a longer name continues after it.
 */
typedef struct PortInfoRecord {
    uint8_t macAddress[6];                    /**< 0: MAC address if portType is ::NETTYPE_RHOA, otherwise zero */
    char portName[KAL_PORT_NAME_SIZE];        /**< 6: the service's port name, truncated to 79 characters */
    uint16_t handle;                          /**< 86: printer handle for ::KalOpen */
    uint16_t deviceClass;                     /**< 88: ::KAL_DEVICE_CLASS_CPD or ::KAL_DEVICE_CLASS_BPD */
    uint16_t reserved90;                      /**< 90: 0 */
    uint32_t portType;                        /**< 92: port-type code (a NETTYPE value, 0 for an unknown transport) */
    uint16_t reserved96;                      /**< 96: 0 */
    uint16_t isHostBasedNetwork;              /**< 98: 1 if portType is ::NETTYPE_RHOA, otherwise 0 */
    char secondName[KAL_SECOND_NAME_MINIMUM]; /**< 100: the port name, or the name that the caller passed */
} PortInfoRecord;

#define KAL_PRINTER_STATUS_SIZE 1032 /**< bytes of a KalPrinterStatusRecord */

/** The result of ::KalQueryPrinterStatus. */
typedef struct KalPrinterStatusRecord {
    uint32_t size;          /**< 0: 1028, the bytes that follow this member */
    uint32_t version;       /**< 4: 1 */
    uint32_t isPrinting;    /**< 8: 1 while the printer prints, otherwise 0 */
    uint32_t count;         /**< 12: 1 */
    uint8_t reserved[1016]; /**< 16: zero */
} KalPrinterStatusRecord;

/**
 * Receives one found printer.
 * @param[in] printer  valid only during the call.
 * @par Threads
 * Called on the thread on which the service reports (::KalEnumPrinters), or on a worker thread while the caller waits
 * (::KalEnumSpecificPort). No lock is held. It may call other exports.
 */
typedef void (*KalPortCallback)(const PortInfoRecord *printer);
/** @} */

/**
 * @defgroup registration Registration
 * @brief The first call of an application and its last.
 *
 * Registrations are counted per process. The first makes the binding to the service. The last unregistration destroys
 * it and closes all printers.
 * @{
 */

/**
 * Registers the application with the service on this machine. Registrations are counted per process: the first makes
 * the binding, and each needs one ::KalUnregisterApp. The first operation, not the registration, loads comc.dll.
 * @param[in] first  not read.
 * @return 1, always. If the binding cannot be made, it is also 1, but the application is not registered.
 * @par Threads
 * Any. Serialised with the other registration exports.
 * @par Log line
 * `KalRegisterApp() initializeCount=1`
 * @par Example
 * @snippet registration.c KalRegisterApp
 */
KAL_API uint16_t KalRegisterApp(uint16_t first);

/**
 * Registers the application with the service on a named machine and checks that the network knows that machine.
 * @param[in] serverName  null-terminated name of the machine, with or without two leading backslashes; null or "" means
 * this machine. Ignored if the process is already registered.
 * @retval 1                         registered
 * @retval KAL_REGISTRATION_REFUSED  not registered: the server cannot be reached, or the binding could not be made
 * @par Threads
 * Any. Serialised with the other registration exports. Blocks while the network looks up another machine's name.
 * @par Log line
 * `KalRegisterWithRpcServer() initializeCount=1`
 * @par Example
 * @snippet registration.c KalRegisterWithRpcServer
 */
KAL_API int32_t KalRegisterWithRpcServer(const char *serverName);

/**
 * Releases one registration; the last one destroys the binding, its open handles and the logger. There must not be more
 * calls than registrations: the count would wrap, and the next ::KalRegisterApp would only set it back to 0.
 * @param[in] first  not read.
 * @par Threads
 * Any. Serialised with the other registration exports. The last unregistration waits up to five seconds for callbacks
 * of the service on other threads: alerts, notifications, enumerations. It does not wait for running exports, for a
 * callback on its own thread, or while the process exits. If a callback still runs after that time, the binding with
 * its open handles, comc.dll and kalclient.dll stay in memory until the process exits; a new registration makes a new
 * binding. Do not make the last unregistration in a ::KalPortCallback, in DllMain or in the destructor of a DLL's
 * static object.
 * @par Log line
 * `KalUnregisterApp() initializeCount=0`
 * @par Example
 * @snippet registration.c KalUnregisterApp
 */
KAL_API void KalUnregisterApp(uint16_t first);

/**
 * Stores a name for the client. Nothing in the library reads it.
 * @param[in] name  null-terminated; at most 260 characters are kept. Null changes nothing.
 * @par Threads
 * Any. Never blocks: the service is not called.
 * @par Log line
 * `KalSetClientName was called`
 * @par Example
 * @snippet registration.c KalSetClientName
 */
KAL_API void KalSetClientName(const char *name);

/**
 * Prepares the library and resets the alert id counter to 0. Applications do not need it, because loading the library
 * does the same.
 * @return 1 (true), always.
 * @par Threads
 * Any. Never blocks: the service is not called.
 * @par Log line
 * None.
 * @par Example
 * @snippet registration.c Initialize
 */
KAL_API int32_t Initialize(void);

/**
 * Does nothing; kept for applications that call it.
 * @return 1 (true), always.
 * @par Threads
 * Any. Never blocks: the service is not called.
 * @par Log line
 * None.
 * @par Example
 * @snippet registration.c Uninitialize
 */
KAL_API int32_t Uninitialize(void);

/** @} */

/**
 * @defgroup opening Open and close
 * @brief Opens and closes a printer by its 16-bit handle.
 * @{
 */

/**
 * Opens a printer. Opens are counted: each needs its own ::KalClose.
 * @param[in] first   not read.
 * @param[in] handle  printer handle (PortInfoRecord::handle), 0 to 65535.
 * @param[in] third   not read.
 * @retval KAL_OKAY          the printer is open
 * @retval KAL_PRNBUSY       the printer is busy (service code 170)
 * @retval DEVERR_CONNECT    the device cannot be found (1168)
 * @retval DEVERR_INVHANDLE  the handle does not exist (6)
 * @retval KAL_FAIL          every other code; no binding exists; no worker thread could be started
 * @par Threads
 * Any. Runs on a worker thread while the caller waits indefinitely.
 * @par Log line
 * `-KalOpen() handle =3 rc=0`
 * @par Example
 * @snippet opening.c KalOpen
 */
KAL_API int32_t KalOpen(uint16_t first, uint16_t handle, uint16_t third);

/**
 * Closes a printer once.
 * @param[in] first   not read.
 * @param[in] handle  printer handle.
 * @retval KAL_OKAY          one open was closed
 * @retval DEVERR_INVHANDLE  the handle is not open
 * @retval KAL_FAIL          every other code of the service; no binding exists
 * @par Threads
 * Any. Blocks until the service responds.
 * @par Log line
 * `-KalClose() handle=3 rc=KAL_OKAY`
 * @par Example
 * @snippet opening.c KalClose
 */
KAL_API int32_t KalClose(uint16_t first, uint16_t handle);

/** @} */

/**
 * @defgroup printing Print jobs
 * @brief Sends a document to a printer.
 *
 * The order of the arguments differs: ::KalStartDoc and ::KalEndDoc have the handle first. The others have an unused
 * number first and the handle second.
 * @{
 */

/**
 * Starts a print job.
 * @param[in] handle        open printer handle.
 * @param[in] portType      port-type code (NETTYPE value, 0 or 4095 for any); must be valid for the handle's bits 11 to
 * 14.
 * @param[in] documentName  null-terminated name that the service shows; may be null.
 * @retval KAL_OKAY          the job has begun
 * @retval DEVERR_PROTOCOL   the port type is not valid for the handle; the service was not called
 * @retval KAL_PRNBUSY       the printer is busy (service code 170)
 * @retval DEVERR_CONNECT    the device cannot be found (1168)
 * @retval DEVERR_INVHANDLE  the service does not know the handle (6)
 * @retval KAL_FAIL          every other code (among them 1: the handle was not opened); no binding exists
 * @par Threads
 * Any. Blocks until the service responds.
 * @par Log line
 * `-KalStartDoc()  handle=3 rc=KAL_OKAY`
 * with two spaces before the handle.
 * @par Example
 * @snippet printing.c KalStartDoc
 */
KAL_API int32_t KalStartDoc(uint16_t handle, uint32_t portType, const char *documentName);

/**
 * Sends document data. Does not retry: if the service's buffer is full (service code 122), the call waits 2000 ms and
 * returns ::KAL_FAIL. The application must then offer the bytes again.
 * @param[in]     first      not read.
 * @param[in]     handle     open printer handle with a started job.
 * @param[in]     portType   as for ::KalStartDoc.
 * @param[in]     data       *byteCount bytes, which the library does not copy; may be null if *byteCount is 0.
 * @param[in,out] byteCount  in: bytes to send; out: bytes that the service took (if fewer, send the rest again).
 * @retval KAL_OKAY          *byteCount bytes were taken
 * @retval DEVERR_PROTOCOL   the port type is not valid for the handle, or the device refused the write (service code
 * 50)
 * @retval DEVERR_CONNECT    the device cannot be found (1168)
 * @retval DEVERR_INVHANDLE  the service does not know the handle (6)
 * @retval KAL_FAIL          every other code, also busy (170); a null pointer; no binding exists
 * @par Threads
 * Any. Blocks until the service has taken the data, and for 2000 ms more if its buffer is full.
 * @par Log line
 * `-KalWrite() handle=3 byteCount=4096 totalByteCount=4096 rc=0, bytesWritten=4096`
 * @par Example
 * @snippet printing.c KalWrite
 */
KAL_API int32_t KalWrite(uint16_t first, uint16_t handle, uint32_t portType, const void *data, uint32_t *byteCount);

/**
 * Sends document data exactly as ::KalWrite does. Despite its name, it returns after the service has taken the data.
 * @param[in]     first      not read.
 * @param[in]     handle     open printer handle with a started job.
 * @param[in]     portType   as for ::KalStartDoc.
 * @param[in]     data       *byteCount bytes; not null.
 * @param[in,out] byteCount  in: bytes to send; out: bytes that the service took.
 * @param[in]     sixth      not used.
 * @return as ::KalWrite.
 * @par Threads
 * Any. Blocks like ::KalWrite.
 * @par Log line
 * `-KalWriteOverlapped() handle=3`
 * around the lines of ::KalWrite.
 * @par Example
 * @snippet printing.c KalWriteOverlapped
 */
KAL_API int32_t KalWriteOverlapped(uint16_t first, uint16_t handle, uint32_t portType, const void *data,
                                   uint32_t *byteCount, uint32_t sixth);

/**
 * Ends the print job.
 * @param[in] handle    open printer handle.
 * @param[in] portType  as for ::KalStartDoc.
 * @retval KAL_OKAY          the service has the complete document
 * @retval DEVERR_PROTOCOL   the port type is not valid for the handle; the service was not called
 * @retval KAL_PRNBUSY       the printer is busy (service code 170)
 * @retval DEVERR_CONNECT    the device cannot be found (1168)
 * @retval DEVERR_INVHANDLE  the service does not know the handle (6)
 * @retval KAL_FAIL          every other code (among them 1: the handle was not opened); no binding exists
 * @par Threads
 * Any. Blocks until the service responds.
 * @par Log line
 * `-KalEndDoc() handle=3 rc=KAL_OKAY`
 * @par Example
 * @snippet printing.c KalEndDoc
 */
KAL_API int32_t KalEndDoc(uint16_t handle, uint32_t portType);

/**
 * Cancels the print job on a handle.
 * @param[in] first   not read.
 * @param[in] handle  open printer handle.
 * @retval KAL_OKAY  the job was cancelled
 * @retval KAL_FAIL  every other code of the service (also for an unknown handle); no binding exists
 * @par Threads
 * Any. Blocks until the service responds.
 * @par Log line
 * `-KalCancelJob() handle=3 rc=KAL_OKAY`
 * @par Example
 * @snippet printing.c KalCancelJob
 */
KAL_API int32_t KalCancelJob(uint16_t first, uint16_t handle);

/** @} */

/**
 * @defgroup job_modes Job modes and job strings
 * @brief Settings for waiting for jobs, cancelling jobs and job notifications.
 * @{
 */

/**
 * Sets how long the service waits for the true end of a job.
 * @param[in] first    not read.
 * @param[in] handle   printer handle.
 * @param[in] third    not read.
 * @param[in] fourth   not read.
 * @param[in] seconds  time in seconds, 0 to 65535.
 * @retval KAL_OKAY  the service was called, whatever it returned
 * @retval KAL_FAIL  no binding exists
 * @par Threads
 * Any. Blocks until the service responds.
 * @par Log line
 * `-KalSetEndOfJobMode() handle=3 rc=0`
 * @par Example
 * @snippet job_modes.c KalSetEndOfJobMode
 */
KAL_API int32_t KalSetEndOfJobMode(uint16_t first, uint16_t handle, uint16_t third, uint16_t fourth, uint16_t seconds);

/**
 * Selects the job that the next ::KalCancelJob cancels.
 * @param[in] first   not read.
 * @param[in] handle  printer handle.
 * @param[in] jobId   job id, 1 or more.
 * @retval KAL_OKAY  the service accepted the job id
 * @retval KAL_FAIL  a job id below 1 (the service is not called); every code of the service except 0; no binding exists
 * @par Threads
 * Any. Blocks until the service responds.
 * @par Log line
 * `-KalSetJobCancelMode() handle=3 jobId=1 rc=KAL_OKAY`
 * @par Example
 * @snippet job_modes.c KalSetJobCancelMode
 */
KAL_API int32_t KalSetJobCancelMode(uint16_t first, uint16_t handle, int32_t jobId);

/**
 * Switches job notifications (::WM_KAL_PRINTERSTATUS, ::WM_KAL_ENDOFJOB) of a handle on or off.
 *
 * Mode 2 leaves the handle open even if it cannot start the notifications: call mode 1 (or ::KalClose) to close it.
 * ::KalReleaseAlerts also ends notifications and closes the handle; see there.
 * @param[in] first   not read.
 * @param[in] handle  printer handle.
 * @param[in] mode    2: open the handle and start notifications; 1: stop them and close the handle; 128: fails; any
 *                    other value does nothing.
 * @retval KAL_OKAY          the service returned any code except 1 and 2; or the mode does nothing
 * @retval DEVERR_INVHANDLE  mode 2: the handle cannot be opened; both modes: the service returned 1
 * @retval DEVERR_CONNECT    the service cannot find the device (2)
 * @retval KAL_FAIL          mode 128; no binding exists
 * @par Threads
 * Any. Blocks until the service responds.
 * @par Log line
 * `-KalSetJobControlMode() handle=3 rc=KAL_OKAY`
 * @par Example
 * @snippet job_modes.c KalSetJobControlMode
 */
KAL_API int32_t KalSetJobControlMode(uint16_t first, uint16_t handle, uint32_t mode);

/**
 * Passes an arbitrary key and value for the job to the service.
 * @param[in] first   not read.
 * @param[in] handle  printer handle.
 * @param[in] key     null-terminated key; not null.
 * @param[in] value   null-terminated value; not null.
 * @retval KAL_OKAY  the service was called, whatever it returned
 * @retval KAL_FAIL  a null key or value; no binding exists
 * @par Threads
 * Any. Blocks until the service responds.
 * @par Log line
 * `-KalSetJobStringPrinter() handle=3 key=key value=value rc=0`
 * @par Example
 * @snippet job_modes.c KalSetJobStringPrinter
 */
KAL_API int32_t KalSetJobStringPrinter(uint16_t first, uint16_t handle, const char *key, const char *value);

/** @} */

/**
 * @defgroup enumeration Enumeration
 * @brief Finds printers, and reads the data that the service stores about them.
 * @{
 */

/**
 * Reports all printers of the selected kinds to a callback, one call per printer. Two enumerations at the same time
 * both report to the callback that was passed last.
 * @param[in] first     not read.
 * @param[in] netTypes  mask: ::NETTYPE_IP, ::NETTYPEUSB, ::NETTYPE_LOCAL; with ::KAL_DISCOVER_FIRST, USB and parallel
 *                      devices are discovered first. Other bits find nothing.
 * @param[in] callback  called per printer, on a thread of the service; may be null. Must not throw or make
 *                      the last ::KalUnregisterApp.
 * @retval KAL_OKAY  the service was called; if it failed, the log has its code
 * @retval KAL_FAIL  no binding exists
 * @par Threads
 * Any. Blocks until the service has reported every printer.
 * @par Log line
 * `-KalEnumPrinters rc=KAL_OKAY`
 * @par Example
 * @snippet enumeration.c KalEnumPrinters
 */
KAL_API int32_t KalEnumPrinters(uint16_t first, uint32_t netTypes, KalPortCallback callback);

/**
 * Finds the printer at a port and reports it to a callback. The result is a port-type code, not a result code. Only the
 * callback shows whether a printer was found.
 * @param[in] first     not used.
 * @param[in] netTypes  mask of net types to accept; any bit of 0xFFF accepts every recognised kind, ::ENUM_P2P also
 *                      unrecognised ones, 0 only a parallel port whose name contains "LPT".
 * @param[in] portName  null-terminated port name as the service knows it; not null.
 * @param[in] callback  called once if the printer was found, on a worker thread; may be null.
 * @return the port-type code of the reported printer (0 for an unknown transport); 0 if nothing was reported;
 * ::KAL_FAIL (1) for a null name, if no binding exists, or if no worker thread could be started.
 * @par Threads
 * Any. Runs on a worker thread while the caller waits indefinitely.
 * @par Log line
 * `-KalEnumSpecificPort() port=USB001 rc=1024`
 * @par Example
 * @snippet enumeration.c KalEnumSpecificPort
 */
KAL_API int32_t KalEnumSpecificPort(uint16_t first, uint32_t netTypes, const char *portName, KalPortCallback callback);

/**
 * Like ::KalEnumSpecificPort, for a UNC name.
 * @param[in] first     not used.
 * @param[in] netTypes  as for ::KalEnumSpecificPort.
 * @param[in] name      null-terminated name; not null.
 * @param[in] callback  as for ::KalEnumSpecificPort.
 * @return as ::KalEnumSpecificPort.
 * @par Threads
 * Any. Runs on a worker thread while the caller waits indefinitely.
 * @par Log line
 * `-KalEnumByUnc()  name=USB001`
 * with two spaces before the name, around the lines of ::KalEnumSpecificPort.
 * @par Example
 * @snippet enumeration.c KalEnumByUNC
 */
KAL_API int32_t KalEnumByUNC(uint16_t first, uint32_t netTypes, const char *name, KalPortCallback callback);

/**
 * Reads the data block that the service stores about a printer, without a request to the printer.
 * @param[in]  first   not used.
 * @param[in]  handle  printer handle.
 * @param[out] buffer  receives the block, without an eight-byte header that begins with 0xA5. Not null.
 * @param[in]  size    size of the buffer in bytes.
 * @param[out] length  receives the number of bytes in the buffer. Not null.
 * @retval KAL_OKAY          the block is in the buffer
 * @retval DEVERR_INVHANDLE  the service does not know the handle (6)
 * @retval KAL_FAIL          every other code; a null pointer; no binding exists; no worker thread could be started
 * @par Threads
 * Any. Runs on a worker thread while the caller waits indefinitely.
 * @par Log line
 * `-KalGetCache() handle =3 rc=0`
 * @par Example
 * @snippet enumeration.c KalGetCache
 */
KAL_API int32_t KalGetCache(uint16_t first, uint16_t handle, void *buffer, uint32_t size, uint32_t *length);

/** @} */

/**
 * @defgroup alerts Alerts and status
 * @brief Faults and states of printers.
 *
 * Alerts and notifications are posted as @ref messages "window messages". The process has one window for all of them.
 * @{
 */

/**
 * Requests a printer's alerts as window messages. The process has one window: the window of the latest successful call
 * receives every alert and notification of every printer.
 * @param[in] first   not read.
 * @param[in] handle  printer handle.
 * @param[in] mask    the requested alerts: client alert mask, 32 bits. Not null.
 * @param[in] window  HWND to post to.
 * @retval KAL_OKAY          alerts will be posted
 * @retval DEVERR_INVHANDLE  the handle cannot be opened, for any reason
 * @retval KAL_FAIL          the service refused; a null mask; no binding exists
 * @par Threads
 * Any. Blocks until the service responds.
 * @par Log line
 * `-KalCaptureAlerts() handle=3, hwnd=0x0000000000010020 rc=KAL_OKAY`
 * @par Example
 * @snippet alerts.c KalCaptureAlerts
 */
KAL_API int32_t KalCaptureAlerts(uint16_t first, uint16_t handle, const uint32_t *mask, void *window);

/**
 * Releases one capture. Captures are counted, but every release ends all alerts and notifications of the handle at the
 * service. It also closes the handle, and a second time if notifications were running, even if another part of the
 * program opened it. An application that captured twice must therefore capture again. One that called
 * ::KalSetJobControlMode with mode 2 must not call mode 1 after this.
 * @param[in] first   not read.
 * @param[in] handle  printer handle.
 * @retval KAL_OKAY          released, even if the service failed
 * @retval DEVERR_INVHANDLE  the handle was not captured
 * @retval KAL_FAIL          no binding exists
 * @par Threads
 * Any. Blocks until the service responds.
 * @par Log line
 * `-KalReleaseAlerts() handle=3 rc=KAL_OKAY`
 * @par Example
 * @snippet alerts.c KalReleaseAlerts
 */
KAL_API int32_t KalReleaseAlerts(uint16_t first, uint16_t handle);

/**
 * Fetches the bytes of an alert from offset 5. The alert stays stored and can be fetched again until 65536 further
 * alerts were posted.
 * @param[in]     first    not read.
 * @param[in]     alertId  high 16 bits of the message's wParam.
 * @param[in]     third    not read.
 * @param[in]     fourth   not read.
 * @param[out]    buffer   receives the bytes; may be null only if *size is too small.
 * @param[in,out] size     in: size of the buffer; out: bytes of the alert. Not null.
 * @return ::KAL_OKAY; the number of bytes needed if the buffer is too small (a positive number, deliberately not a
 * named code); ::KAL_FAIL (1) for an unknown id, for a null pointer, or if no binding exists. If *size became 1, a
 * result of 1 means that one byte is needed.
 * @par Threads
 * Any. Never blocks: the service is not called.
 * @par Log line
 * `-KalQueryAlerts()  alertId=1 rc=KAL_OKAY`
 * with two spaces before the id. The logged id is the id of the next alert, not the argument.
 * @par Example
 * @snippet alerts.c KalQueryAlerts
 */
KAL_API int32_t KalQueryAlerts(uint16_t first, uint16_t alertId, uint16_t third, uint16_t fourth, void *buffer,
                               uint16_t *size);

/**
 * Reports whether a printer is printing.
 * @param[in]  first   not read.
 * @param[in]  handle  printer handle.
 * @param[in]  third   not read.
 * @param[out] buffer  receives a KalPrinterStatusRecord; may be null only if size is too small.
 * @param[in]  size    size of the buffer in bytes.
 * @param[out] needed  receives ::KAL_PRINTER_STATUS_SIZE. Not null.
 * @retval KAL_OKAY      the record is in the buffer
 * @retval KAL_MOREDATA  the buffer is too small
 * @retval KAL_FAIL      the service failed; a null pointer; no binding exists
 * @par Threads
 * Any. Blocks until the service responds.
 * @par Log line
 * `-KalQueryPrinterStatus() handle=3 rc=KAL_OKAY`
 * @par Example
 * @snippet alerts.c KalQueryPrinterStatus
 */
KAL_API int32_t KalQueryPrinterStatus(uint16_t first, uint16_t handle, uint16_t third, void *buffer, uint32_t size,
                                      uint32_t *needed);

/** @} */

/**
 * @defgroup bidi Bidirectional requests
 * @brief Requests to the printer itself.
 * @{
 */

/**
 * Sends one bidirectional request to a printer and returns its response. Opens the handle and closes it again. After a
 * failed exchange the complete response buffer is zero.
 * @param[in]     first         not read.
 * @param[in]     handle        printer handle.
 * @param[in]     third         not read.
 * @param[in]     function      0 to 181: the stored request with that code, followed by the caller's data if both
 *                              together have at most 512 bytes; 170: only the caller's data, unchanged.
 * @param[out]    response      receives the response, without its five-byte header unless function is 170; may be null.
 * @param[in,out] responseSize  in: size of the buffer; out: bytes received; may be null if no response is wanted.
 * @param[in]     data          bytes to append or, for 170, to send; may be null.
 * @param[in]     dataLength    number of bytes in data.
 * @retval KAL_OKAY              the response is in the buffer
 * @retval KAL_INVALID_FUNCTION  no request has this code; the service was not called
 * @retval DEVERR_INVHANDLE      the handle cannot be opened, or the service does not know it (6)
 * @retval KAL_MOREDATA          the buffer is too small (122); *responseSize is the needed size, if the service
 * reported it
 * @retval KAL_PRNBUSY           the printer is busy with another request (1)
 * @retval DEVERR_READFAIL       the printer did not respond in time (1460)
 * @retval KAL_FAIL              every other code; null data with a length for 170; no binding exists
 * @par Threads
 * Any. Blocks until the service responds.
 * @par Log line
 * `-KalSendBidi() handle=3 function=1 rc=KAL_OKAY, response=72 65 61 64 79`
 * @par Example
 * @snippet bidi.c KalSendBidi
 */
KAL_API int32_t KalSendBidi(uint16_t first, uint16_t handle, uint16_t third, uint16_t function, void *response,
                            uint32_t *responseSize, const void *data, uint16_t dataLength);

/** @} */

/* Before C23, only an empty parameter list accepts any arguments; with -Wstrict-prototypes, compilers warn about it. */
#if !defined(__cplusplus) && (defined(__GNUC__) || defined(__clang__))
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wstrict-prototypes"
#endif

/**
 * @defgroup fixed_answers Fixed answers
 * @brief Exports that do nothing and always return the same result.
 * @{
 */

/**
 * Does nothing: the library does not buffer. When a write returns, its data has reached the service.
 * @return ::KAL_OKAY, always.
 * @par Threads
 * Any. Never blocks: the service is not called.
 * @par Log line
 * `-KalFlushMWOBuffer rc=KAL_OKAY`
 * @par Example
 * @snippet older.c KalFlushMWOBuffer
 */
KAL_API int32_t KalFlushMWOBuffer(void);

/**
 * Does nothing: the service has its own installer.
 * @return ::KAL_OKAY, always.
 * @par Threads
 * Any. Never blocks: the service is not called.
 * @par Log line
 * `-KalUninstallORX rc=KAL_OKAY`
 * @par Example
 * @snippet older.c KalUninstallORX
 */
KAL_API int32_t KalUninstallORX(void);

/**
 * Does nothing: no server is needed.
 * @return 1: a boolean true, not ::KAL_FAIL.
 * @par Threads
 * Any. Never blocks: the service is not called.
 * @par Log line
 * `-KalStartRpcServer rc=TRUE`
 * @par Example
 * @snippet older.c KalStartRpcServer
 */
KAL_API int32_t KalStartRpcServer(void);

/**
 * Does not report any printer; use ::KalEnumSpecificPort. Its arguments, four in older applications, are not read.
 * @return ::KAL_OKAY, always.
 * @par Threads
 * Any. Never blocks: the service is not called.
 * @par Log line
 * `-KalEnumSpecific`
 * @par Example
 * @snippet older.c KalEnumSpecific
 */
KAL_API int32_t KalEnumSpecific(KAL_ARGUMENTS_NOT_READ);

/**
 * Does nothing: there is nothing to prepare.
 * @par Threads
 * Any. Never blocks: the service is not called.
 * @par Log line
 * `-KalPrepareRhoaForUninstall`
 * @par Example
 * @snippet older.c KalPrepareRhoaForUninstall
 */
KAL_API void KalPrepareRhoaForUninstall(void);

/** @} */

/**
 * @defgroup unsupported Unsupported exports
 * @brief Kept so that older applications link and run. Each returns ::KAL_FAIL.
 *
 * Some of them switched the log on and off; see @ref logging_page for its settings.
 * @par Results
 * ::KAL_FAIL, always. Arguments may be passed; they are not read.
 * @par Threads
 * Any. Never blocks: the service is not called.
 * @par Log line
 * `-KalPing rc=KAL_FAIL (unsupported)`, with the name of the export; ::KalEnumJobs deliberately writes "KalEnumJob".
 * @par Example
 * An application whose older parts still call one of them:
 * @snippet older.c unsupported
 * @{
 */

/** Unsupported: use ::KalCaptureAlerts instead. @return ::KAL_FAIL, always. */
KAL_API int32_t KalCaptureAlertsEx(KAL_ARGUMENTS_NOT_READ);
/** Unsupported: use ::KalEnumSpecificPort instead. @return ::KAL_FAIL, always. */
KAL_API int32_t KalGetDeviceIDString(KAL_ARGUMENTS_NOT_READ);
/** Unsupported: use ::KalEnumSpecificPort instead. @return ::KAL_FAIL, always. */
KAL_API int32_t KalGetDeviceIDStringEx(KAL_ARGUMENTS_NOT_READ);
/** Unsupported: use ::KalEnumSpecificPort instead. @return ::KAL_FAIL, always. */
KAL_API int32_t KalGetPrtInfo(KAL_ARGUMENTS_NOT_READ);
/** Unsupported: use ::KalQueryPrinterStatus instead. @return ::KAL_FAIL, always. */
KAL_API int32_t KalPing(KAL_ARGUMENTS_NOT_READ);
/** Unsupported: use ::KalEnumSpecificPort instead. @return ::KAL_FAIL, always. */
KAL_API int32_t KalQueryPortType(KAL_ARGUMENTS_NOT_READ);
/** Unsupported: use ::KalQueryPrinterStatus instead. @return ::KAL_FAIL, always. */
KAL_API int32_t KalQueryPrintBuffer(KAL_ARGUMENTS_NOT_READ);
/** Unsupported; nothing takes its place. @return ::KAL_FAIL, always. */
KAL_API int32_t KalReceiveShutdownNotification(KAL_ARGUMENTS_NOT_READ);
/** Unsupported; nothing takes its place. @return ::KAL_FAIL, always. */
KAL_API int32_t KalRetrieveData(KAL_ARGUMENTS_NOT_READ);
/** Unsupported: the log is switched on by its settings (docs/logging.md). @return ::KAL_FAIL, always. */
KAL_API int32_t KalStartTrace(KAL_ARGUMENTS_NOT_READ);
/** Unsupported: the log is switched on by its settings (docs/logging.md). @return ::KAL_FAIL, always. */
KAL_API int32_t KalStopTrace(KAL_ARGUMENTS_NOT_READ);
/** Unsupported; nothing takes its place. @return ::KAL_FAIL, always. */
KAL_API int32_t KalStoreData(KAL_ARGUMENTS_NOT_READ);
/** Unsupported: use ::KalWrite instead. @return ::KAL_FAIL, always. */
KAL_API int32_t KalWriteUNI(KAL_ARGUMENTS_NOT_READ);
/** Unsupported: use ::KalSendBidi instead. @return ::KAL_FAIL, always. */
KAL_API int32_t KalDeviceIoControl(KAL_ARGUMENTS_NOT_READ);
/** Unsupported: use ::KalEnumSpecificPort instead. @return ::KAL_FAIL, always. */
KAL_API int32_t KalEnumSpecificEx(KAL_ARGUMENTS_NOT_READ);
/** Unsupported; nothing takes its place. @return ::KAL_FAIL, always. */
KAL_API int32_t KalExchangeNetInfo(KAL_ARGUMENTS_NOT_READ);
/** Unsupported: use ::KalEnumPrinters instead. @return ::KAL_FAIL, always. */
KAL_API int32_t KalGetConnectionNames(KAL_ARGUMENTS_NOT_READ);
/** Unsupported: use ::KalEnumPrinters instead. @return ::KAL_FAIL, always. */
KAL_API int32_t KalGetNetInfo(KAL_ARGUMENTS_NOT_READ);
/** Unsupported: use ::KalSetJobControlMode instead. @return ::KAL_FAIL, always. */
KAL_API int32_t KalEnumJobs(KAL_ARGUMENTS_NOT_READ);
/** Unsupported: use ::KalQueryAlerts instead. @return ::KAL_FAIL, always. */
KAL_API int32_t KalGetJobAlertInfo(KAL_ARGUMENTS_NOT_READ);
/** Unsupported: use ::KalEnumPrinters instead. @return ::KAL_FAIL, always. */
KAL_API int32_t KalGetNets(KAL_ARGUMENTS_NOT_READ);
/** Unsupported: use ::KalCaptureAlerts instead. @return ::KAL_FAIL, always. */
KAL_API int32_t KalGetPollingInterval(KAL_ARGUMENTS_NOT_READ);
/** Unsupported: use ::KalEnumPrinters instead. @return ::KAL_FAIL, always. */
KAL_API int32_t KalGetPrinterAddr(KAL_ARGUMENTS_NOT_READ);
/** Unsupported: use ::KalEnumPrinters instead. @return ::KAL_FAIL, always. */
KAL_API int32_t KalGetPrinterAddrEx(KAL_ARGUMENTS_NOT_READ);
/** Unsupported: use ::KalEnumPrinters instead. @return ::KAL_FAIL, always. */
KAL_API int32_t KalGetPrinterName(KAL_ARGUMENTS_NOT_READ);
/** Unsupported: use ::KalQueryPrinterStatus instead. @return ::KAL_FAIL, always. */
KAL_API int32_t KalGetQueueUpdate(KAL_ARGUMENTS_NOT_READ);
/** Unsupported: see ::KAL_VERSION_MAJOR and the properties of kalclient.dll. @return ::KAL_FAIL, always. */
KAL_API int32_t KalGetVersion(KAL_ARGUMENTS_NOT_READ);
/** Unsupported: see ::KAL_VERSION_MAJOR and the properties of kalclient.dll. @return ::KAL_FAIL, always. */
KAL_API int32_t KalGetVersionEx(KAL_ARGUMENTS_NOT_READ);
/** Unsupported: see ::KAL_VERSION_MAJOR and the properties of kalclient.dll. @return ::KAL_FAIL, always. */
KAL_API int32_t KalGetVersionInfoEx(KAL_ARGUMENTS_NOT_READ);
/** Unsupported; nothing takes its place. @return ::KAL_FAIL, always. */
KAL_API int32_t KalIsUserAdmin(KAL_ARGUMENTS_NOT_READ);
/** Unsupported: use ::KalCaptureAlerts instead. @return ::KAL_FAIL, always. */
KAL_API int32_t KalMonitorPrinter(KAL_ARGUMENTS_NOT_READ);
/** Unsupported; nothing takes its place. @return ::KAL_FAIL, always. */
KAL_API int32_t KalMoveJob(KAL_ARGUMENTS_NOT_READ);
/** Unsupported; nothing takes its place. @return ::KAL_FAIL, always. */
KAL_API int32_t KalReleaseJobs(KAL_ARGUMENTS_NOT_READ);
/** Unsupported: use ::KalClose instead. @return ::KAL_FAIL, always. */
KAL_API int32_t KalReleasePort(KAL_ARGUMENTS_NOT_READ);
/** Unsupported; nothing takes its place. @return ::KAL_FAIL, always. */
KAL_API int32_t KalReleaseQueues(KAL_ARGUMENTS_NOT_READ);
/** Unsupported; nothing takes its place. @return ::KAL_FAIL, always. */
KAL_API int32_t KalSetJobStatus(KAL_ARGUMENTS_NOT_READ);
/** Unsupported; nothing takes its place. @return ::KAL_FAIL, always. */
KAL_API int32_t KalSetNetInfo(KAL_ARGUMENTS_NOT_READ);
/** Unsupported: use ::KalCaptureAlerts instead. @return ::KAL_FAIL, always. */
KAL_API int32_t KalSetPollingInterval(KAL_ARGUMENTS_NOT_READ);
/** Unsupported; nothing takes its place. @return ::KAL_FAIL, always. */
KAL_API int32_t KalSetQueueStatus(KAL_ARGUMENTS_NOT_READ);

/** @} */

/**
 * @defgroup aliases LM aliases
 * @brief The same exports with the names that older applications use.
 *
 * Each calls the export without LM with the same arguments and returns its result. Thread rule and blocking are those
 * of that export.
 * @par Log line
 * The lines of the export without LM, between those of the alias:
 * `+KalCloseLM`, `+KalClose() handle=3`, `-KalClose() handle=3 rc=KAL_OKAY`, `-KalCloseLM`. Two deliberately write
 * another name: ::KalCaptureAlertsExLM "KalCaptureAlertsLM" and ::KalReceiveShutdownNotificationLM
 * "KalReceiveShutdownNotification".
 * @par Example
 * An alias is called like the export without LM:
 * @snippet older.c aliases
 * @{
 */

/** Alias of ::KalRegisterApp. Needs a registered application: it opens a trace, which ::KalRegisterApp does not.
 * @copydetails KalRegisterApp */
KAL_API uint16_t KalRegisterAppLM(uint16_t first);
/** Alias of ::KalUnregisterApp. Needs a registered application: it opens a trace, which ::KalUnregisterApp does not.
 * @copydetails KalUnregisterApp */
KAL_API void KalUnregisterAppLM(uint16_t first);
/** Alias of ::KalOpen. @copydetails KalOpen */
KAL_API int32_t KalOpenLM(uint16_t first, uint16_t handle, uint16_t third);
/** Alias of ::KalClose. @copydetails KalClose */
KAL_API int32_t KalCloseLM(uint16_t first, uint16_t handle);
/** Alias of ::KalStartDoc. @copydetails KalStartDoc */
KAL_API int32_t KalStartDocLM(uint16_t handle, uint32_t portType, const char *documentName);
/** Alias of ::KalWrite. @copydetails KalWrite */
KAL_API int32_t KalWriteLM(uint16_t first, uint16_t handle, uint32_t portType, const void *data, uint32_t *byteCount);
/** Alias of ::KalEndDoc. @copydetails KalEndDoc */
KAL_API int32_t KalEndDocLM(uint16_t handle, uint32_t portType);
/** Alias of ::KalEnumPrinters. @copydetails KalEnumPrinters */
KAL_API int32_t KalEnumPrintersLM(uint16_t first, uint32_t netTypes, KalPortCallback callback);
/** Alias of ::KalEnumSpecificPort. @copydetails KalEnumSpecificPort */
KAL_API int32_t KalEnumSpecificPortLM(uint16_t first, uint32_t netTypes, const char *portName,
                                      KalPortCallback callback);
/** Alias of ::KalEnumByUNC. @copydetails KalEnumByUNC */
KAL_API int32_t KalEnumByUNCLM(uint16_t first, uint32_t netTypes, const char *name, KalPortCallback callback);
/** Alias of ::KalCaptureAlerts. @copydetails KalCaptureAlerts */
KAL_API int32_t KalCaptureAlertsLM(uint16_t first, uint16_t handle, const uint32_t *mask, void *window);
/** Alias of ::KalReleaseAlerts. @copydetails KalReleaseAlerts */
KAL_API int32_t KalReleaseAlertsLM(uint16_t first, uint16_t handle);
/** Alias of ::KalQueryAlerts. @copydetails KalQueryAlerts */
KAL_API int32_t KalQueryAlertsLM(uint16_t first, uint16_t alertId, uint16_t third, uint16_t fourth, void *buffer,
                                 uint16_t *size);
/** Alias of ::KalSendBidi. @copydetails KalSendBidi */
KAL_API int32_t KalSendBidiLM(uint16_t first, uint16_t handle, uint16_t third, uint16_t function, void *response,
                              uint32_t *responseSize, const void *data, uint16_t dataLength);
/** Alias of ::KalCaptureAlertsEx. @return ::KAL_FAIL, always. */
KAL_API int32_t KalCaptureAlertsExLM(KAL_ARGUMENTS_NOT_READ);
/** Alias of ::KalReceiveShutdownNotification. @return ::KAL_FAIL, always. */
KAL_API int32_t KalReceiveShutdownNotificationLM(KAL_ARGUMENTS_NOT_READ);
/** Alias of ::KalDeviceIoControl. @return ::KAL_FAIL, always. */
KAL_API int32_t KalDeviceIoControlLM(KAL_ARGUMENTS_NOT_READ);
/** Alias of ::KalEnumSpecific. @return ::KAL_OKAY, always. */
KAL_API int32_t KalEnumSpecificLM(KAL_ARGUMENTS_NOT_READ);
/** Alias of ::KalEnumSpecificEx. @return ::KAL_FAIL, always. */
KAL_API int32_t KalEnumSpecificExLM(KAL_ARGUMENTS_NOT_READ);
/** Alias of ::KalExchangeNetInfo. @return ::KAL_FAIL, always. */
KAL_API int32_t KalExchangeNetInfoLM(KAL_ARGUMENTS_NOT_READ);
/** Alias of ::KalGetConnectionNames. @return ::KAL_FAIL, always. */
KAL_API int32_t KalGetConnectionNamesLM(KAL_ARGUMENTS_NOT_READ);
/** Alias of ::KalGetDeviceIDString. @return ::KAL_FAIL, always. */
KAL_API int32_t KalGetDeviceIDStringLM(KAL_ARGUMENTS_NOT_READ);
/** Alias of ::KalGetDeviceIDStringEx. @return ::KAL_FAIL, always. */
KAL_API int32_t KalGetDeviceIDStringExLM(KAL_ARGUMENTS_NOT_READ);
/** Alias of ::KalGetNetInfo. @return ::KAL_FAIL, always. */
KAL_API int32_t KalGetNetInfoLM(KAL_ARGUMENTS_NOT_READ);
/** Alias of ::KalGetNets. @return ::KAL_FAIL, always. */
KAL_API int32_t KalGetNetsLM(KAL_ARGUMENTS_NOT_READ);
/** Alias of ::KalGetPrinterAddr. @return ::KAL_FAIL, always. */
KAL_API int32_t KalGetPrinterAddrLM(KAL_ARGUMENTS_NOT_READ);
/** Alias of ::KalGetPrinterAddrEx. @return ::KAL_FAIL, always. */
KAL_API int32_t KalGetPrinterAddrExLM(KAL_ARGUMENTS_NOT_READ);
/** Alias of ::KalGetPrinterName. @return ::KAL_FAIL, always. */
KAL_API int32_t KalGetPrinterNameLM(KAL_ARGUMENTS_NOT_READ);
/** Alias of ::KalGetPrtInfo. @return ::KAL_FAIL, always. */
KAL_API int32_t KalGetPrtInfoLM(KAL_ARGUMENTS_NOT_READ);
/** Alias of ::KalGetVersion. @return ::KAL_FAIL, always. */
KAL_API int32_t KalGetVersionLM(KAL_ARGUMENTS_NOT_READ);
/** Alias of ::KalGetVersionEx. @return ::KAL_FAIL, always. */
KAL_API int32_t KalGetVersionExLM(KAL_ARGUMENTS_NOT_READ);
/** Alias of ::KalGetVersionInfoEx. @return ::KAL_FAIL, always. */
KAL_API int32_t KalGetVersionInfoExLM(KAL_ARGUMENTS_NOT_READ);
/** Alias of ::KalMonitorPrinter. @return ::KAL_FAIL, always. */
KAL_API int32_t KalMonitorPrinterLM(KAL_ARGUMENTS_NOT_READ);
/** Alias of ::KalReleasePort. @return ::KAL_FAIL, always. */
KAL_API int32_t KalReleasePortLM(KAL_ARGUMENTS_NOT_READ);
/** Alias of ::KalSetNetInfo. @return ::KAL_FAIL, always. */
KAL_API int32_t KalSetNetInfoLM(KAL_ARGUMENTS_NOT_READ);
/** Alias of ::KalStartTrace. @return ::KAL_FAIL, always. */
KAL_API int32_t KalStartTraceLM(KAL_ARGUMENTS_NOT_READ);
/** Alias of ::KalStopTrace. @return ::KAL_FAIL, always. */
KAL_API int32_t KalStopTraceLM(KAL_ARGUMENTS_NOT_READ);

/** @} */

#if !defined(__cplusplus) && (defined(__GNUC__) || defined(__clang__))
#pragma GCC diagnostic pop
#endif

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif
