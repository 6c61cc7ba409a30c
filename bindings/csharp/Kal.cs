// Declarations of kalclient.dll for C#, with the enumerations and records of its interface.
//
// Written by bindings/csharp/generate from the description of the binary interface and the comments of kal.h: change
// those. For 64-bit processes on Windows; kalclient.dll lies beside the program.
//
// Nothing but the registration exports may be called while no application is registered: the others then let a native
// exception out, which ends the process.
using System;
using System.Runtime.InteropServices;

namespace Kal
{
    /// <summary>What exports answer. Fail is positive, every device error negative: compare with Okay.</summary>
    public enum KalResult : int
    {
        /// <summary>KAL_OKAY: the operation succeeded</summary>
        Okay = 0,
        /// <summary>KAL_FAIL: any failure without a more specific code; positive, unlike all others</summary>
        Fail = 1,
        /// <summary>DEVERR_INVHANDLE: the handle is not open, or the service reports an invalid handle</summary>
        InvalidHandle = -8,
        /// <summary>DEVERR_CONNECT: the service cannot reach or find the device</summary>
        Connect = -10,
        /// <summary>KAL_REGISTRATION_REFUSED: KalRegisterWithRpcServer: the server cannot be reached</summary>
        RegistrationRefused = -12,
        /// <summary>DEVERR_PROTOCOL: the port type does not fit the handle, or the device refused a write</summary>
        Protocol = -14,
        /// <summary>KAL_INVALID_FUNCTION: KalSendBidi: no request has this function code</summary>
        InvalidFunction = -15,
        /// <summary>DEVERR_READFAIL: the device's response could not be read in time</summary>
        ReadFail = -17,
        /// <summary>KAL_MOREDATA: the caller's buffer is too small; the needed size is reported</summary>
        MoreData = -18,
        /// <summary>KAL_PRNBUSY: the printer is busy</summary>
        PrinterBusy = -27,
    }

    /// <summary>Kinds of printers: a mask for enumerations, and the port-type code of a handle.</summary>
    [Flags]
    public enum KalNetType : uint
    {
        /// <summary>KAL_PORT_TYPE_UNSPECIFIED: port type that fits every handle</summary>
        Unspecified = 0x0,
        /// <summary>NETTYPE_IP: network printer over IPv4 ("IPv4")</summary>
        Ip = 0x2,
        /// <summary>ENUM_P2P: mask only: accept a found port of any net type</summary>
        P2P = 0x10,
        /// <summary>NETTYPE_RHOA: host-based network printer with a MAC address ("HBN1", "HBN3")</summary>
        Rhoa = 0x200,
        /// <summary>NETTYPEUSB: USB printer ("USB1"), and any printer whose transport cannot be read</summary>
        Usb = 0x400,
        /// <summary>NETTYPE_LOCAL: parallel-port printer ("PAR1")</summary>
        Local = 0x800,
        /// <summary>KAL_PORT_TYPE_ANY: port type that fits every handle</summary>
        Any = 0xfff,
        /// <summary>KAL_DISCOVER_FIRST: mask only, KalEnumPrinters: discover devices before enumerating</summary>
        DiscoverFirst = 0x80000000,
    }

    /// <summary>Messages posted to the window given to KalCaptureAlerts. wParam: printer handle in the low 16 bits;
    /// alert id, flag or state in the high 16 bits.</summary>
    public enum KalMessage : uint
    {
        /// <summary>WM_KAL_DSA: WM_USER+500: power-on reset of a CpdPrinter; alert id high</summary>
        Dsa = 0x5f4,
        /// <summary>WM_KAL_TONERPREDICTION: WM_USER+512: toner prediction of a BpdPrinter; alert id high</summary>
        TonerPrediction = 0x600,
        /// <summary>WM_KAL_ENDOFJOB: WM_USER+513: true end of job; flag high; lParam: port-type code</summary>
        EndOfJob = 0x601,
        /// <summary>WM_KAL_PRINTERSTATUS: WM_USER+572: printer state (0 idle, 1 printing, 3 error) high</summary>
        PrinterStatus = 0x63c,
        /// <summary>WM_KAL_JOBOIRALERTEX: WM_USER+573: extended alert of type 1; alert id high</summary>
        JobOirAlertEx = 0x63d,
        /// <summary>WM_KAL_WARNINGSEX: WM_USER+574: extended alert of type 2; alert id high</summary>
        WarningsEx = 0x63e,
        /// <summary>WM_KAL_CONFIGCHANGEEX: WM_USER+575: extended alert of type 4; alert id high</summary>
        ConfigChangeEx = 0x63f,
        /// <summary>WM_KAL_CPD_STATUSCHANGE: WM_USER+576: any other valid alert of a CpdPrinter; alert id
        /// high</summary>
        CpdStatusChange = 0x640,
    }

    /// <summary>PortInfoRecord.deviceClass.</summary>
    public enum KalDeviceClass : ushort
    {
        /// <summary>KAL_DEVICE_CLASS_BPD: PortInfoRecord.deviceClass of every device that is not a CpdPrinter</summary>
        Bpd = 0x3,
        /// <summary>KAL_DEVICE_CLASS_CPD: PortInfoRecord.deviceClass of a CpdPrinter</summary>
        Cpd = 0x8,
    }

    /// <summary>360 bytes; see kal.h.</summary>
    [StructLayout(LayoutKind.Sequential, CharSet = CharSet.Ansi)]
    public struct PortInfoRecord
    {
        [MarshalAs(UnmanagedType.ByValArray, SizeConst = 6)]
        public byte[] macAddress;
        [MarshalAs(UnmanagedType.ByValTStr, SizeConst = 80)]
        public string portName;
        public ushort handle;
        public ushort deviceClass;
        public ushort reserved90;
        public uint portType;
        public ushort reserved96;
        public ushort isHostBasedNetwork;
        [MarshalAs(UnmanagedType.ByValTStr, SizeConst = 260)]
        public string secondName;
    }

    /// <summary>1032 bytes; see kal.h.</summary>
    [StructLayout(LayoutKind.Sequential, CharSet = CharSet.Ansi)]
    public struct KalPrinterStatusRecord
    {
        public uint size;
        public uint version;
        public uint isPrinting;
        public uint count;
        [MarshalAs(UnmanagedType.ByValArray, SizeConst = 1016)]
        public byte[] reserved;
    }

    /// <summary>Receives one found printer, valid during the call only: read it with
    /// Marshal.PtrToStructure&lt;PortInfoRecord&gt;(printer). Keep the delegate referenced while the export
    /// runs.</summary>
    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate void KalPortCallback(IntPtr printer);

    /// <summary>The exports. Results are numbers, not KalResult: some exports answer a size or a port-type
    /// code.</summary>
    public static class Native
    {
        private const string Library = "kalclient.dll";

        public const int KAL_PORT_NAME_SIZE = 80;
        public const int KAL_PRINTER_STATUS_SIZE = 1032;
        public const int KAL_SECOND_NAME_MINIMUM = 260;
        public const int KAL_SECOND_NAME_OFFSET = 100;

        /// <summary>Prepares the library and sets the alert id counter back to 0. Loading the library has done this
        /// already; an application need not call it.</summary>
        /// <returns>1 (true), always.</returns>
        /// <remarks>Threads: Any. Never blocks: the service is not asked.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int Initialize();

        /// <summary>Cancels the print job on a handle.</summary>
        /// <param name="first">not read.</param>
        /// <param name="handle">open printer handle.</param>
        /// <returns>KAL_OKAY: the job is cancelled; KAL_FAIL: every other code of the service (an unknown handle too);
        /// no binding exists.</returns>
        /// <remarks>Threads: Any. Blocks while the service answers.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalCancelJob(ushort first, ushort handle);

        /// <summary>Asks for a printer's alerts as window messages. The process has one window: that of the latest
        /// successful call receives every alert and notification, whatever printer it was given for.</summary>
        /// <param name="first">not read.</param>
        /// <param name="handle">printer handle.</param>
        /// <param name="mask">the alerts wanted: client alert mask, 32 bits. Not null.</param>
        /// <param name="window">HWND to post to.</param>
        /// <returns>KAL_OKAY: the alerts will come; DEVERR_INVHANDLE: the handle cannot be opened, for whatever reason;
        /// KAL_FAIL: the service refuses; a null mask; no binding exists.</returns>
        /// <remarks>Threads: Any. Blocks while the service answers.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalCaptureAlerts(ushort first, ushort handle, ref uint mask, IntPtr window);

        /// <summary>Unsupported: use KalCaptureAlerts instead.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalCaptureAlertsEx();

        /// <summary>Alias of KalCaptureAlertsEx.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalCaptureAlertsExLM();

        /// <summary>Alias of KalCaptureAlerts. The process has one window: that of the latest successful call receives
        /// every alert and notification, whatever printer it was given for.</summary>
        /// <param name="first">not read.</param>
        /// <param name="handle">printer handle.</param>
        /// <param name="mask">the alerts wanted: client alert mask, 32 bits. Not null.</param>
        /// <param name="window">HWND to post to.</param>
        /// <returns>KAL_OKAY: the alerts will come; DEVERR_INVHANDLE: the handle cannot be opened, for whatever reason;
        /// KAL_FAIL: the service refuses; a null mask; no binding exists.</returns>
        /// <remarks>Threads: Any. Blocks while the service answers.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalCaptureAlertsLM(ushort first, ushort handle, ref uint mask, IntPtr window);

        /// <summary>Closes a printer once.</summary>
        /// <param name="first">not read.</param>
        /// <param name="handle">printer handle.</param>
        /// <returns>KAL_OKAY: one open is given back; DEVERR_INVHANDLE: the handle is not open; KAL_FAIL: every other
        /// code of the service; no binding exists.</returns>
        /// <remarks>Threads: Any. Blocks while the service answers.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalClose(ushort first, ushort handle);

        /// <summary>Alias of KalClose.</summary>
        /// <param name="first">not read.</param>
        /// <param name="handle">printer handle.</param>
        /// <returns>KAL_OKAY: one open is given back; DEVERR_INVHANDLE: the handle is not open; KAL_FAIL: every other
        /// code of the service; no binding exists.</returns>
        /// <remarks>Threads: Any. Blocks while the service answers.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalCloseLM(ushort first, ushort handle);

        /// <summary>Unsupported: use KalSendBidi instead.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalDeviceIoControl();

        /// <summary>Alias of KalDeviceIoControl.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalDeviceIoControlLM();

        /// <summary>Ends the print job; the data is then complete.</summary>
        /// <param name="handle">open printer handle.</param>
        /// <param name="portType">as for KalStartDoc.</param>
        /// <returns>KAL_OKAY: the service has the whole document; DEVERR_PROTOCOL: the port type does not fit the
        /// handle; the service was not asked; KAL_PRNBUSY: the printer is busy (service code 170); DEVERR_CONNECT: the
        /// device cannot be found (1168); DEVERR_INVHANDLE: the service does not know the handle (6); KAL_FAIL: every
        /// other code (among them 1: the handle was not opened); no binding exists.</returns>
        /// <remarks>Threads: Any. Blocks while the service answers.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalEndDoc(ushort handle, uint portType);

        /// <summary>Alias of KalEndDoc.</summary>
        /// <param name="handle">open printer handle.</param>
        /// <param name="portType">as for KalStartDoc.</param>
        /// <returns>KAL_OKAY: the service has the whole document; DEVERR_PROTOCOL: the port type does not fit the
        /// handle; the service was not asked; KAL_PRNBUSY: the printer is busy (service code 170); DEVERR_CONNECT: the
        /// device cannot be found (1168); DEVERR_INVHANDLE: the service does not know the handle (6); KAL_FAIL: every
        /// other code (among them 1: the handle was not opened); no binding exists.</returns>
        /// <remarks>Threads: Any. Blocks while the service answers.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalEndDocLM(ushort handle, uint portType);

        /// <summary>Does what KalEnumSpecificPort does, for a UNC name.</summary>
        /// <param name="first">not used.</param>
        /// <param name="netTypes">as for KalEnumSpecificPort.</param>
        /// <param name="name">zero-terminated name; not null.</param>
        /// <param name="callback">as for KalEnumSpecificPort.</param>
        /// <returns>as KalEnumSpecificPort.</returns>
        /// <remarks>Threads: Any. Works on a thread of its own while the caller waits without time-out.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalEnumByUNC(ushort first, uint netTypes, [MarshalAs(UnmanagedType.LPStr)] string name,
            KalPortCallback callback);

        /// <summary>Alias of KalEnumByUNC.</summary>
        /// <param name="first">not used.</param>
        /// <param name="netTypes">as for KalEnumSpecificPort.</param>
        /// <param name="name">zero-terminated name; not null.</param>
        /// <param name="callback">as for KalEnumSpecificPort.</param>
        /// <returns>as KalEnumSpecificPort.</returns>
        /// <remarks>Threads: Any. Works on a thread of its own while the caller waits without time-out.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalEnumByUNCLM(ushort first, uint netTypes,
            [MarshalAs(UnmanagedType.LPStr)] string name, KalPortCallback callback);

        /// <summary>Unsupported: use KalSetJobControlMode instead.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalEnumJobs();

        /// <summary>Reports all printers of the chosen kinds to a callback, one call a printer. Two enumerations at the
        /// same time both report to the callback that was given last.</summary>
        /// <param name="first">not read.</param>
        /// <param name="netTypes">mask: NETTYPE_IP, NETTYPEUSB, NETTYPE_LOCAL; with KAL_DISCOVER_FIRST USB and parallel
        /// devices are discovered before. Other bits find nothing.</param>
        /// <param name="callback">called for each printer, on a thread of the service; may be null. Must not throw, and
        /// must not make the last KalUnregisterApp.</param>
        /// <returns>KAL_OKAY: the service was asked, also when it failed (the log tells); KAL_FAIL: no binding
        /// exists.</returns>
        /// <remarks>Threads: Any. Blocks until the service has reported every printer.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalEnumPrinters(ushort first, uint netTypes, KalPortCallback callback);

        /// <summary>Alias of KalEnumPrinters. Two enumerations at the same time both report to the callback that was
        /// given last.</summary>
        /// <param name="first">not read.</param>
        /// <param name="netTypes">mask: NETTYPE_IP, NETTYPEUSB, NETTYPE_LOCAL; with KAL_DISCOVER_FIRST USB and parallel
        /// devices are discovered before. Other bits find nothing.</param>
        /// <param name="callback">called for each printer, on a thread of the service; may be null. Must not throw, and
        /// must not make the last KalUnregisterApp.</param>
        /// <returns>KAL_OKAY: the service was asked, also when it failed (the log tells); KAL_FAIL: no binding
        /// exists.</returns>
        /// <remarks>Threads: Any. Blocks until the service has reported every printer.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalEnumPrintersLM(ushort first, uint netTypes, KalPortCallback callback);

        /// <summary>Reports no printer; KalEnumSpecificPort finds one. Its arguments, four in older applications, are
        /// not read.</summary>
        /// <returns>KAL_OKAY, always.</returns>
        /// <remarks>Threads: Any. Never blocks: the service is not asked.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalEnumSpecific();

        /// <summary>Unsupported: use KalEnumSpecificPort instead.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalEnumSpecificEx();

        /// <summary>Alias of KalEnumSpecificEx.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalEnumSpecificExLM();

        /// <summary>Alias of KalEnumSpecific.</summary>
        /// <returns>KAL_OKAY, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalEnumSpecificLM();

        /// <summary>Finds the printer behind one port and reports it to a callback. The result is a port-type code, no
        /// result code: whether a printer was found, only the callback tells.</summary>
        /// <param name="first">not used.</param>
        /// <param name="netTypes">mask of net types to accept; any bit of 0xFFF accepts every recognised kind, ENUM_P2P
        /// also unrecognised ones, 0 none (but a parallel port whose name contains "LPT").</param>
        /// <param name="portName">zero-terminated port name as the service knows it; not null.</param>
        /// <param name="callback">called once when the printer was found, on a worker thread; may be null.</param>
        /// <returns>the port-type code of the printer after the callback was called (0 for an unknown transport); 0
        /// when nothing was reported; KAL_FAIL (1) for a null name, when no binding exists and when no worker thread
        /// could be started.</returns>
        /// <remarks>Threads: Any. Works on a thread of its own while the caller waits without time-out.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalEnumSpecificPort(ushort first, uint netTypes,
            [MarshalAs(UnmanagedType.LPStr)] string portName, KalPortCallback callback);

        /// <summary>Alias of KalEnumSpecificPort. The result is a port-type code, no result code: whether a printer was
        /// found, only the callback tells.</summary>
        /// <param name="first">not used.</param>
        /// <param name="netTypes">mask of net types to accept; any bit of 0xFFF accepts every recognised kind, ENUM_P2P
        /// also unrecognised ones, 0 none (but a parallel port whose name contains "LPT").</param>
        /// <param name="portName">zero-terminated port name as the service knows it; not null.</param>
        /// <param name="callback">called once when the printer was found, on a worker thread; may be null.</param>
        /// <returns>the port-type code of the printer after the callback was called (0 for an unknown transport); 0
        /// when nothing was reported; KAL_FAIL (1) for a null name, when no binding exists and when no worker thread
        /// could be started.</returns>
        /// <remarks>Threads: Any. Works on a thread of its own while the caller waits without time-out.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalEnumSpecificPortLM(ushort first, uint netTypes,
            [MarshalAs(UnmanagedType.LPStr)] string portName, KalPortCallback callback);

        /// <summary>Unsupported; nothing takes its place.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalExchangeNetInfo();

        /// <summary>Alias of KalExchangeNetInfo.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalExchangeNetInfoLM();

        /// <summary>Nothing is buffered here: a write has reached the service when it returns.</summary>
        /// <returns>KAL_OKAY, always.</returns>
        /// <remarks>Threads: Any. Never blocks: the service is not asked.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalFlushMWOBuffer();

        /// <summary>Reads the data block that the service keeps of a printer, without asking the printer.</summary>
        /// <param name="first">not used.</param>
        /// <param name="handle">printer handle.</param>
        /// <param name="buffer">receives the block; a head of eight bytes that begins with 0xA5 is removed. Not
        /// null.</param>
        /// <param name="size">bytes of the buffer.</param>
        /// <param name="length">receives the bytes in the buffer. Not null.</param>
        /// <returns>KAL_OKAY: the block is in the buffer; DEVERR_INVHANDLE: the service does not know the handle (6);
        /// KAL_FAIL: every other code; a null pointer; no binding exists; no worker thread could be started.</returns>
        /// <remarks>Threads: Any. Works on a thread of its own while the caller waits without time-out.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalGetCache(ushort first, ushort handle, [Out] byte[] buffer, uint size,
            ref uint length);

        /// <summary>Unsupported: use KalEnumPrinters instead.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalGetConnectionNames();

        /// <summary>Alias of KalGetConnectionNames.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalGetConnectionNamesLM();

        /// <summary>Unsupported: use KalEnumSpecificPort instead.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalGetDeviceIDString();

        /// <summary>Unsupported: use KalEnumSpecificPort instead.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalGetDeviceIDStringEx();

        /// <summary>Alias of KalGetDeviceIDStringEx.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalGetDeviceIDStringExLM();

        /// <summary>Alias of KalGetDeviceIDString.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalGetDeviceIDStringLM();

        /// <summary>Unsupported: use KalQueryAlerts instead.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalGetJobAlertInfo();

        /// <summary>Unsupported: use KalEnumPrinters instead.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalGetNetInfo();

        /// <summary>Alias of KalGetNetInfo.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalGetNetInfoLM();

        /// <summary>Unsupported: use KalEnumPrinters instead.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalGetNets();

        /// <summary>Alias of KalGetNets.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalGetNetsLM();

        /// <summary>Unsupported: use KalCaptureAlerts instead.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalGetPollingInterval();

        /// <summary>Unsupported: use KalEnumPrinters instead.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalGetPrinterAddr();

        /// <summary>Unsupported: use KalEnumPrinters instead.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalGetPrinterAddrEx();

        /// <summary>Alias of KalGetPrinterAddrEx.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalGetPrinterAddrExLM();

        /// <summary>Alias of KalGetPrinterAddr.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalGetPrinterAddrLM();

        /// <summary>Unsupported: use KalEnumPrinters instead.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalGetPrinterName();

        /// <summary>Alias of KalGetPrinterName.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalGetPrinterNameLM();

        /// <summary>Unsupported: use KalEnumSpecificPort instead.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalGetPrtInfo();

        /// <summary>Alias of KalGetPrtInfo.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalGetPrtInfoLM();

        /// <summary>Unsupported: use KalQueryPrinterStatus instead.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalGetQueueUpdate();

        /// <summary>Unsupported: see KAL_VERSION_MAJOR and the properties of kalclient.dll.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalGetVersion();

        /// <summary>Unsupported: see KAL_VERSION_MAJOR and the properties of kalclient.dll.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalGetVersionEx();

        /// <summary>Alias of KalGetVersionEx.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalGetVersionExLM();

        /// <summary>Unsupported: see KAL_VERSION_MAJOR and the properties of kalclient.dll.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalGetVersionInfoEx();

        /// <summary>Alias of KalGetVersionInfoEx.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalGetVersionInfoExLM();

        /// <summary>Alias of KalGetVersion.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalGetVersionLM();

        /// <summary>Unsupported; nothing takes its place.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalIsUserAdmin();

        /// <summary>Unsupported: use KalCaptureAlerts instead.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalMonitorPrinter();

        /// <summary>Alias of KalMonitorPrinter.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalMonitorPrinterLM();

        /// <summary>Unsupported; nothing takes its place.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalMoveJob();

        /// <summary>Opens a printer. Opens are counted: each needs its own KalClose.</summary>
        /// <param name="first">not read.</param>
        /// <param name="handle">printer handle (PortInfoRecord.handle), 0 to 65535.</param>
        /// <param name="third">not read.</param>
        /// <returns>KAL_OKAY: the printer is open; KAL_PRNBUSY: the printer is busy (service code 170); DEVERR_CONNECT:
        /// the device cannot be found (1168); DEVERR_INVHANDLE: there is no such handle (6); KAL_FAIL: every other
        /// code; no binding exists; no worker thread could be started.</returns>
        /// <remarks>Threads: Any. Works on a thread of its own while the caller waits without time-out.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalOpen(ushort first, ushort handle, ushort third);

        /// <summary>Alias of KalOpen. Opens are counted: each needs its own KalClose.</summary>
        /// <param name="first">not read.</param>
        /// <param name="handle">printer handle (PortInfoRecord.handle), 0 to 65535.</param>
        /// <param name="third">not read.</param>
        /// <returns>KAL_OKAY: the printer is open; KAL_PRNBUSY: the printer is busy (service code 170); DEVERR_CONNECT:
        /// the device cannot be found (1168); DEVERR_INVHANDLE: there is no such handle (6); KAL_FAIL: every other
        /// code; no binding exists; no worker thread could be started.</returns>
        /// <remarks>Threads: Any. Works on a thread of its own while the caller waits without time-out.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalOpenLM(ushort first, ushort handle, ushort third);

        /// <summary>Unsupported: use KalQueryPrinterStatus instead.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalPing();

        /// <summary>Does nothing: there is nothing to prepare.</summary>
        /// <remarks>Threads: Any. Never blocks: the service is not asked.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern void KalPrepareRhoaForUninstall();

        /// <summary>Fetches the bytes of an alert, from its offset 5 on. The alert stays stored and may be fetched
        /// again, until 65536 further alerts were posted.</summary>
        /// <param name="first">not read.</param>
        /// <param name="alertId">high 16 bits of the message's wParam.</param>
        /// <param name="third">not read.</param>
        /// <param name="fourth">not read.</param>
        /// <param name="buffer">receives the bytes; may be null only when *size is too small anyway.</param>
        /// <param name="size">in: bytes of the buffer; out: bytes of the alert. Not null.</param>
        /// <returns>KAL_OKAY; the number of bytes needed (a positive number, deliberately not a named code) when the
        /// buffer is too small; KAL_FAIL (1) for an unknown id, for a null pointer and when no binding exists. A result
        /// of 1 with *size changed to 1 means one byte is needed.</returns>
        /// <remarks>Threads: Any. Never blocks: the service is not asked.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalQueryAlerts(ushort first, ushort alertId, ushort third, ushort fourth,
            [Out] byte[] buffer, ref ushort size);

        /// <summary>Alias of KalQueryAlerts. The alert stays stored and may be fetched again, until 65536 further
        /// alerts were posted.</summary>
        /// <param name="first">not read.</param>
        /// <param name="alertId">high 16 bits of the message's wParam.</param>
        /// <param name="third">not read.</param>
        /// <param name="fourth">not read.</param>
        /// <param name="buffer">receives the bytes; may be null only when *size is too small anyway.</param>
        /// <param name="size">in: bytes of the buffer; out: bytes of the alert. Not null.</param>
        /// <returns>KAL_OKAY; the number of bytes needed (a positive number, deliberately not a named code) when the
        /// buffer is too small; KAL_FAIL (1) for an unknown id, for a null pointer and when no binding exists. A result
        /// of 1 with *size changed to 1 means one byte is needed.</returns>
        /// <remarks>Threads: Any. Never blocks: the service is not asked.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalQueryAlertsLM(ushort first, ushort alertId, ushort third, ushort fourth,
            [Out] byte[] buffer, ref ushort size);

        /// <summary>Unsupported: use KalEnumSpecificPort instead.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalQueryPortType();

        /// <summary>Unsupported: use KalQueryPrinterStatus instead.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalQueryPrintBuffer();

        /// <summary>Tells whether a printer prints.</summary>
        /// <param name="first">not read.</param>
        /// <param name="handle">printer handle.</param>
        /// <param name="third">not read.</param>
        /// <param name="buffer">receives a KalPrinterStatusRecord; may be null only when size is too small
        /// anyway.</param>
        /// <param name="size">bytes of the buffer.</param>
        /// <param name="needed">receives KAL_PRINTER_STATUS_SIZE. Not null.</param>
        /// <returns>KAL_OKAY: the record is in the buffer; KAL_MOREDATA: the buffer is too small; KAL_FAIL: the service
        /// fails; a null pointer; no binding exists.</returns>
        /// <remarks>Threads: Any. Blocks while the service answers.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalQueryPrinterStatus(ushort first, ushort handle, ushort third, [Out] byte[] buffer,
            uint size, ref uint needed);

        /// <summary>Unsupported; nothing takes its place.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalReceiveShutdownNotification();

        /// <summary>Alias of KalReceiveShutdownNotification.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalReceiveShutdownNotificationLM();

        /// <summary>Registers the application with the service on this machine. Registrations are counted per process:
        /// the first makes the binding, each needs one KalUnregisterApp. Starts nothing yet: comc.dll is loaded by the
        /// first operation.</summary>
        /// <param name="first">not read.</param>
        /// <returns>1, always; also when the binding could not be made (then nothing is registered).</returns>
        /// <remarks>Threads: Any. Serialised with the other registration exports.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern ushort KalRegisterApp(ushort first);

        /// <summary>Alias of KalRegisterApp. Needs a registered application: it opens a trace, which KalRegisterApp
        /// does not. Registrations are counted per process: the first makes the binding, each needs one
        /// KalUnregisterApp. Starts nothing yet: comc.dll is loaded by the first operation.</summary>
        /// <param name="first">not read.</param>
        /// <returns>1, always; also when the binding could not be made (then nothing is registered).</returns>
        /// <remarks>Threads: Any. Serialised with the other registration exports.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern ushort KalRegisterAppLM(ushort first);

        /// <summary>Registers the application with the service on a named machine and checks that the network knows
        /// that machine.</summary>
        /// <param name="serverName">zero-terminated name of the machine, with or without two leading backslashes; null
        /// or "" is this machine. Ignored when the process is registered already.</param>
        /// <returns>1: registered; KAL_REGISTRATION_REFUSED: the server cannot be reached or the binding could not be
        /// made: nothing is registered.</returns>
        /// <remarks>Threads: Any. Serialised with the other registration exports. Blocks while the network looks a
        /// foreign name up.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalRegisterWithRpcServer([MarshalAs(UnmanagedType.LPStr)] string serverName);

        /// <summary>Gives one capture back. Captures are counted, but every release ends alerts and notifications of
        /// the handle at the service and closes the handle, once more when notifications were running, whoever opened
        /// it: an application that captured twice captures again, and one that used KalSetJobControlMode mode 2 does
        /// not call mode 1 after this.</summary>
        /// <param name="first">not read.</param>
        /// <param name="handle">printer handle.</param>
        /// <returns>KAL_OKAY: released, also when the service fails; DEVERR_INVHANDLE: the handle was not captured;
        /// KAL_FAIL: no binding exists.</returns>
        /// <remarks>Threads: Any. Blocks while the service answers.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalReleaseAlerts(ushort first, ushort handle);

        /// <summary>Alias of KalReleaseAlerts. Captures are counted, but every release ends alerts and notifications of
        /// the handle at the service and closes the handle, once more when notifications were running, whoever opened
        /// it: an application that captured twice captures again, and one that used KalSetJobControlMode mode 2 does
        /// not call mode 1 after this.</summary>
        /// <param name="first">not read.</param>
        /// <param name="handle">printer handle.</param>
        /// <returns>KAL_OKAY: released, also when the service fails; DEVERR_INVHANDLE: the handle was not captured;
        /// KAL_FAIL: no binding exists.</returns>
        /// <remarks>Threads: Any. Blocks while the service answers.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalReleaseAlertsLM(ushort first, ushort handle);

        /// <summary>Unsupported; nothing takes its place.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalReleaseJobs();

        /// <summary>Unsupported: use KalClose instead.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalReleasePort();

        /// <summary>Alias of KalReleasePort.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalReleasePortLM();

        /// <summary>Unsupported; nothing takes its place.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalReleaseQueues();

        /// <summary>Unsupported; nothing takes its place.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalRetrieveData();

        /// <summary>Sends one bidirectional request to a printer and returns its response. Opens and closes the handle
        /// by itself. After a failed exchange the whole response buffer is zero.</summary>
        /// <param name="first">not read.</param>
        /// <param name="handle">printer handle.</param>
        /// <param name="third">not read.</param>
        /// <param name="function">0 to 181: the stored request of that code, with the caller's data appended when it
        /// fits into 512 bytes together; 170: the caller's data as it stands.</param>
        /// <param name="response">receives the response, without its five-byte head unless function is 170; may be
        /// null.</param>
        /// <param name="responseSize">in: bytes of response; out: bytes received; may be null (then nothing is
        /// received).</param>
        /// <param name="data">bytes to append or, for 170, to send; may be null.</param>
        /// <param name="dataLength">number of those bytes.</param>
        /// <returns>KAL_OKAY: the response is in the buffer; KAL_INVALID_FUNCTION: there is no such request; the
        /// service was not asked; DEVERR_INVHANDLE: the handle cannot be opened, or the service does not know it (6);
        /// KAL_MOREDATA: the response is longer (122); *responseSize is the needed size when the service told it;
        /// KAL_PRNBUSY: the printer is busy with another request (1); DEVERR_READFAIL: the printer did not answer in
        /// time (1460); KAL_FAIL: every other code; null data with a length for 170; no binding exists.</returns>
        /// <remarks>Threads: Any. Blocks while the service answers.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalSendBidi(ushort first, ushort handle, ushort third, ushort function,
            [Out] byte[] response, ref uint responseSize, [In] byte[] data, ushort dataLength);

        /// <summary>Alias of KalSendBidi. Opens and closes the handle by itself. After a failed exchange the whole
        /// response buffer is zero.</summary>
        /// <param name="first">not read.</param>
        /// <param name="handle">printer handle.</param>
        /// <param name="third">not read.</param>
        /// <param name="function">0 to 181: the stored request of that code, with the caller's data appended when it
        /// fits into 512 bytes together; 170: the caller's data as it stands.</param>
        /// <param name="response">receives the response, without its five-byte head unless function is 170; may be
        /// null.</param>
        /// <param name="responseSize">in: bytes of response; out: bytes received; may be null (then nothing is
        /// received).</param>
        /// <param name="data">bytes to append or, for 170, to send; may be null.</param>
        /// <param name="dataLength">number of those bytes.</param>
        /// <returns>KAL_OKAY: the response is in the buffer; KAL_INVALID_FUNCTION: there is no such request; the
        /// service was not asked; DEVERR_INVHANDLE: the handle cannot be opened, or the service does not know it (6);
        /// KAL_MOREDATA: the response is longer (122); *responseSize is the needed size when the service told it;
        /// KAL_PRNBUSY: the printer is busy with another request (1); DEVERR_READFAIL: the printer did not answer in
        /// time (1460); KAL_FAIL: every other code; null data with a length for 170; no binding exists.</returns>
        /// <remarks>Threads: Any. Blocks while the service answers.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalSendBidiLM(ushort first, ushort handle, ushort third, ushort function,
            [Out] byte[] response, ref uint responseSize, [In] byte[] data, ushort dataLength);

        /// <summary>Stores a name for the client. Nothing in the library reads it.</summary>
        /// <param name="name">zero-terminated, at most 260 characters are kept; null changes nothing.</param>
        /// <remarks>Threads: Any. Never blocks: the service is not asked.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern void KalSetClientName([MarshalAs(UnmanagedType.LPStr)] string name);

        /// <summary>Sets how long the service waits for the true end of a job.</summary>
        /// <param name="first">not read.</param>
        /// <param name="handle">printer handle.</param>
        /// <param name="third">not read.</param>
        /// <param name="fourth">not read.</param>
        /// <param name="seconds">time in seconds, 0 to 65535.</param>
        /// <returns>KAL_OKAY: the service was asked, whatever it said; KAL_FAIL: no binding exists.</returns>
        /// <remarks>Threads: Any. Blocks while the service answers.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalSetEndOfJobMode(ushort first, ushort handle, ushort third, ushort fourth,
            ushort seconds);

        /// <summary>Says which job the next cancel refers to.</summary>
        /// <param name="first">not read.</param>
        /// <param name="handle">printer handle.</param>
        /// <param name="jobId">job id, 1 or more.</param>
        /// <returns>KAL_OKAY: the service took the job id; KAL_FAIL: a job id below 1 (the service is not asked); every
        /// code of the service but 0; no binding exists.</returns>
        /// <remarks>Threads: Any. Blocks while the service answers.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalSetJobCancelMode(ushort first, ushort handle, int jobId);

        /// <summary>Switches job notifications (WM_KAL_PRINTERSTATUS, WM_KAL_ENDOFJOB) of a handle on or off. Mode 2
        /// keeps its open even when starting the notifications fails: call mode 1 (or KalClose) to give it back.
        /// KalReleaseAlerts ends notifications too and then closes once more, whoever opened; see there.</summary>
        /// <param name="first">not read.</param>
        /// <param name="handle">printer handle.</param>
        /// <param name="mode">2: open the handle and start notifications; 1: stop them and close the handle; 128:
        /// refused; any other value does nothing.</param>
        /// <returns>KAL_OKAY: done, or the service answered with a code that counts as such: all but 1 and 2;
        /// DEVERR_INVHANDLE: mode 2: the handle cannot be opened; both modes: the service answered 1; DEVERR_CONNECT:
        /// the service cannot find the device (2); KAL_FAIL: mode 128; no binding exists.</returns>
        /// <remarks>Threads: Any. Blocks while the service answers.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalSetJobControlMode(ushort first, ushort handle, uint mode);

        /// <summary>Unsupported; nothing takes its place.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalSetJobStatus();

        /// <summary>Hands a free key and value for the job to the service.</summary>
        /// <param name="first">not read.</param>
        /// <param name="handle">printer handle.</param>
        /// <param name="key">zero-terminated key; not null.</param>
        /// <param name="value">zero-terminated value; not null.</param>
        /// <returns>KAL_OKAY: the service was asked, whatever it said; KAL_FAIL: a null key or value; no binding
        /// exists.</returns>
        /// <remarks>Threads: Any. Blocks while the service answers.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalSetJobStringPrinter(ushort first, ushort handle,
            [MarshalAs(UnmanagedType.LPStr)] string key, [MarshalAs(UnmanagedType.LPStr)] string value);

        /// <summary>Unsupported; nothing takes its place.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalSetNetInfo();

        /// <summary>Alias of KalSetNetInfo.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalSetNetInfoLM();

        /// <summary>Unsupported: use KalCaptureAlerts instead.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalSetPollingInterval();

        /// <summary>Unsupported; nothing takes its place.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalSetQueueStatus();

        /// <summary>Starts a print job.</summary>
        /// <param name="handle">open printer handle.</param>
        /// <param name="portType">port-type code (NETTYPE value, 0 or 4095 for any); must fit the handle's bits 11 to
        /// 14.</param>
        /// <param name="documentName">zero-terminated name shown by the service; null for none.</param>
        /// <returns>KAL_OKAY: the job has begun; DEVERR_PROTOCOL: the port type does not fit the handle; the service
        /// was not asked; KAL_PRNBUSY: the printer is busy (service code 170); DEVERR_CONNECT: the device cannot be
        /// found (1168); DEVERR_INVHANDLE: the service does not know the handle (6); KAL_FAIL: every other code (among
        /// them 1: the handle was not opened); no binding exists.</returns>
        /// <remarks>Threads: Any. Blocks while the service answers.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalStartDoc(ushort handle, uint portType,
            [MarshalAs(UnmanagedType.LPStr)] string documentName);

        /// <summary>Alias of KalStartDoc.</summary>
        /// <param name="handle">open printer handle.</param>
        /// <param name="portType">port-type code (NETTYPE value, 0 or 4095 for any); must fit the handle's bits 11 to
        /// 14.</param>
        /// <param name="documentName">zero-terminated name shown by the service; null for none.</param>
        /// <returns>KAL_OKAY: the job has begun; DEVERR_PROTOCOL: the port type does not fit the handle; the service
        /// was not asked; KAL_PRNBUSY: the printer is busy (service code 170); DEVERR_CONNECT: the device cannot be
        /// found (1168); DEVERR_INVHANDLE: the service does not know the handle (6); KAL_FAIL: every other code (among
        /// them 1: the handle was not opened); no binding exists.</returns>
        /// <remarks>Threads: Any. Blocks while the service answers.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalStartDocLM(ushort handle, uint portType,
            [MarshalAs(UnmanagedType.LPStr)] string documentName);

        /// <summary>No server is needed.</summary>
        /// <returns>1: a boolean true, not KAL_FAIL.</returns>
        /// <remarks>Threads: Any. Never blocks: the service is not asked.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalStartRpcServer();

        /// <summary>Unsupported: the log is switched on by its settings (docs/logging.md).</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalStartTrace();

        /// <summary>Alias of KalStartTrace.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalStartTraceLM();

        /// <summary>Unsupported: the log is switched on by its settings (docs/logging.md).</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalStopTrace();

        /// <summary>Alias of KalStopTrace.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalStopTraceLM();

        /// <summary>Unsupported; nothing takes its place.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalStoreData();

        /// <summary>Nothing is uninstalled here: the service has an installer of its own.</summary>
        /// <returns>KAL_OKAY, always.</returns>
        /// <remarks>Threads: Any. Never blocks: the service is not asked.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalUninstallORX();

        /// <summary>Gives one registration back; the last one destroys the binding (open handles included) and the
        /// logger. Not guarded against one call too many: the count then wraps and the next KalRegisterApp only brings
        /// it back to 0.</summary>
        /// <param name="first">not read.</param>
        /// <remarks>Threads: Any. Serialised with the other registration exports. The last unregistration waits up to
        /// five seconds for callbacks of the service on other threads: alerts, notifications, enumerations. It does not
        /// wait for exports that still run, for a callback on its own thread, or while the process ends. If a callback
        /// is still inside after that, the binding with its open handles, comc.dll and kalclient.dll stay in memory
        /// until the process ends; a new registration makes a fresh binding. Do not make the last unregistration in a
        /// KalPortCallback, in DllMain or in the destructor of a DLL's static object.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern void KalUnregisterApp(ushort first);

        /// <summary>Alias of KalUnregisterApp. Needs a registered application: it opens a trace, which KalUnregisterApp
        /// does not. Not guarded against one call too many: the count then wraps and the next KalRegisterApp only
        /// brings it back to 0.</summary>
        /// <param name="first">not read.</param>
        /// <remarks>Threads: Any. Serialised with the other registration exports. The last unregistration waits up to
        /// five seconds for callbacks of the service on other threads: alerts, notifications, enumerations. It does not
        /// wait for exports that still run, for a callback on its own thread, or while the process ends. If a callback
        /// is still inside after that, the binding with its open handles, comc.dll and kalclient.dll stay in memory
        /// until the process ends; a new registration makes a fresh binding. Do not make the last unregistration in a
        /// KalPortCallback, in DllMain or in the destructor of a DLL's static object.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern void KalUnregisterAppLM(ushort first);

        /// <summary>Sends document data. Nothing is retried: when the service's buffer is full (service code 122) the
        /// call waits 2000 ms and answers KAL_FAIL; offering the bytes again is the application's part.</summary>
        /// <param name="first">not read.</param>
        /// <param name="handle">open printer handle with a started job.</param>
        /// <param name="portType">as for KalStartDoc.</param>
        /// <param name="data">the bytes, *byteCount of them, not copied by the library; not null unless that is
        /// 0.</param>
        /// <param name="byteCount">in: bytes to send; out: bytes that the service took (may be fewer: send the rest
        /// again).</param>
        /// <returns>KAL_OKAY: *byteCount bytes were taken; DEVERR_PROTOCOL: the port type does not fit the handle, or
        /// the device refused the write (service code 50); DEVERR_CONNECT: the device cannot be found (1168);
        /// DEVERR_INVHANDLE: the service does not know the handle (6); KAL_FAIL: every other code, busy (170) included;
        /// a null pointer; no binding exists.</returns>
        /// <remarks>Threads: Any. Blocks while the service takes the data, and for 2000 ms more when its buffer is
        /// full.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalWrite(ushort first, ushort handle, uint portType, [In] byte[] data,
            ref uint byteCount);

        /// <summary>Alias of KalWrite. Nothing is retried: when the service's buffer is full (service code 122) the
        /// call waits 2000 ms and answers KAL_FAIL; offering the bytes again is the application's part.</summary>
        /// <param name="first">not read.</param>
        /// <param name="handle">open printer handle with a started job.</param>
        /// <param name="portType">as for KalStartDoc.</param>
        /// <param name="data">the bytes, *byteCount of them, not copied by the library; not null unless that is
        /// 0.</param>
        /// <param name="byteCount">in: bytes to send; out: bytes that the service took (may be fewer: send the rest
        /// again).</param>
        /// <returns>KAL_OKAY: *byteCount bytes were taken; DEVERR_PROTOCOL: the port type does not fit the handle, or
        /// the device refused the write (service code 50); DEVERR_CONNECT: the device cannot be found (1168);
        /// DEVERR_INVHANDLE: the service does not know the handle (6); KAL_FAIL: every other code, busy (170) included;
        /// a null pointer; no binding exists.</returns>
        /// <remarks>Threads: Any. Blocks while the service takes the data, and for 2000 ms more when its buffer is
        /// full.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalWriteLM(ushort first, ushort handle, uint portType, [In] byte[] data,
            ref uint byteCount);

        /// <summary>Sends document data exactly as KalWrite does: despite its name it returns only when the service
        /// took the data.</summary>
        /// <param name="first">not read.</param>
        /// <param name="handle">open printer handle with a started job.</param>
        /// <param name="portType">as for KalStartDoc.</param>
        /// <param name="data">the bytes, *byteCount of them; not null.</param>
        /// <param name="byteCount">in: bytes to send; out: bytes that the service took.</param>
        /// <param name="sixth">not used.</param>
        /// <returns>as KalWrite.</returns>
        /// <remarks>Threads: Any. Blocks as KalWrite does.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalWriteOverlapped(ushort first, ushort handle, uint portType, [In] byte[] data,
            ref uint byteCount, uint sixth);

        /// <summary>Unsupported: use KalWrite instead.</summary>
        /// <returns>KAL_FAIL, always.</returns>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int KalWriteUNI();

        /// <summary>Does nothing; kept for applications that call it.</summary>
        /// <returns>1 (true), always.</returns>
        /// <remarks>Threads: Any. Never blocks: the service is not asked.</remarks>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi, ExactSpelling = true)]
        public static extern int Uninitialize();
    }
}
