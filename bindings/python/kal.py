"""kalclient.dll for Python: the flat interface of kal.h with its types, and a small convenient layer.

    import kal

    with kal.Application() as application:
        for found in application.enumerate(kal.NetType.IP | kal.NetType.USB):
            print(f"{found.handle:#06x} {found.port_name}")
        with application.open(0x6001) as printer:
            printer.print(document_bytes, "Letter")

The module needs a 64-bit Python on Windows, and kalclient.dll with comc.dll in the same folder. It looks for kalclient.dll in
this order: ``Application(library=...)``, the environment variable KALCLIENT_DLL, the folder of this file. The module can be
imported on every system; only loading the library needs Windows.

``load()`` returns the library itself, with all exports declared, to call exports such as KalSendBidi directly. kal.h describes
the exports and their results.

Without a registration, only the registration exports may be called. The others throw a C++ exception, which ends a Python
process. ``Application`` keeps to this rule for everything made from it.
"""
from __future__ import annotations

import ctypes
import enum
import os
import pathlib
import sys
import time
from collections.abc import Callable
from dataclasses import dataclass
from types import TracebackType
from typing import Any, Optional

__all__ = ["Application", "FoundPrinter", "KalError", "NetType", "PortCallback", "PortInfoRecord", "Printer",
           "PrinterStatusRecord", "PROTOTYPES", "Result", "WindowMessage", "declare", "load"]


class Result(enum.IntEnum):
    """Results of the exports. ``FAIL`` is positive, and every other error is negative: compare with ``OKAY``."""

    OKAY = 0
    FAIL = 1
    INVALID_HANDLE = -8
    CONNECT = -10
    REGISTRATION_REFUSED = -12
    PROTOCOL = -14
    INVALID_FUNCTION = -15
    READ_FAIL = -17
    MORE_DATA = -18
    PRINTER_BUSY = -27


class NetType(enum.IntFlag):
    """Kinds of printers: a mask for enumerations, and the port-type code of a handle."""

    UNSPECIFIED = 0
    IP = 0x2
    P2P = 0x10
    RHOA = 0x200
    USB = 0x400
    LOCAL = 0x800
    ANY = 4095
    DISCOVER_FIRST = 0x80000000


class WindowMessage(enum.IntEnum):
    """Messages posted to the window given to KalCaptureAlerts. wParam: handle low; alert id, flag or state high."""

    DSA = 0x05F4
    TONER_PREDICTION = 0x0600
    END_OF_JOB = 0x0601
    PRINTER_STATUS = 0x063C
    JOB_OIR_ALERT_EX = 0x063D
    WARNINGS_EX = 0x063E
    CONFIG_CHANGE_EX = 0x063F
    CPD_STATUS_CHANGE = 0x0640


DEVICE_CLASS_BPD = 3
DEVICE_CLASS_CPD = 8

PORT_NAME_SIZE = 80  #: bytes of PortInfoRecord.portName, with the terminator
SECOND_NAME_OFFSET = 100  #: offset of the second name, which may be longer than its array
SECOND_NAME_MINIMUM = 260
PRINTER_STATUS_SIZE = 1032  #: bytes of PrinterStatusRecord


class PortInfoRecord(ctypes.Structure):
    """A found printer, valid only during the callback. The second name may be longer than its array."""

    _fields_ = [
        ("macAddress", ctypes.c_uint8 * 6),
        ("portName", ctypes.c_char * PORT_NAME_SIZE),
        ("handle", ctypes.c_uint16),
        ("deviceClass", ctypes.c_uint16),
        ("reserved90", ctypes.c_uint16),
        ("portType", ctypes.c_uint32),
        ("reserved96", ctypes.c_uint16),
        ("isHostBasedNetwork", ctypes.c_uint16),
        ("secondName", ctypes.c_char * SECOND_NAME_MINIMUM),
    ]


class PrinterStatusRecord(ctypes.Structure):
    """The record that KalQueryPrinterStatus fills."""

    _fields_ = [
        ("size", ctypes.c_uint32),
        ("version", ctypes.c_uint32),
        ("isPrinting", ctypes.c_uint32),
        ("count", ctypes.c_uint32),
        ("reserved", ctypes.c_uint8 * (PRINTER_STATUS_SIZE - 16)),
    ]


PortCallback = ctypes.CFUNCTYPE(None, ctypes.POINTER(PortInfoRecord))

_i32, _u16, _u32 = ctypes.c_int32, ctypes.c_uint16, ctypes.c_uint32
_text, _bytes, _window = ctypes.c_char_p, ctypes.c_void_p, ctypes.c_void_p
_pu16, _pu32 = ctypes.POINTER(ctypes.c_uint16), ctypes.POINTER(ctypes.c_uint32)

# The exports by family. Exports that ignore their arguments are called with none.
_PLAIN: dict[str, tuple[Any, tuple[Any, ...]]] = {
    "Initialize":               (_i32, ()),
    "Uninitialize":             (_i32, ()),
    "KalRegisterWithRpcServer": (_i32, (_text,)),
    "KalSetClientName":         (None, (_text,)),
    "KalWriteOverlapped":       (_i32, (_u16, _u16, _u32, _bytes, _pu32, _u32)),
    "KalCancelJob":             (_i32, (_u16, _u16)),
    "KalSetEndOfJobMode":       (_i32, (_u16, _u16, _u16, _u16, _u16)),
    "KalSetJobCancelMode":      (_i32, (_u16, _u16, _i32)),
    "KalSetJobControlMode":     (_i32, (_u16, _u16, _u32)),
    "KalSetJobStringPrinter":   (_i32, (_u16, _u16, _text, _text)),
    "KalGetCache":              (_i32, (_u16, _u16, _bytes, _u32, _pu32)),
    "KalQueryPrinterStatus":    (_i32, (_u16, _u16, _u16, _bytes, _u32, _pu32)),
    "KalPrepareRhoaForUninstall": (None, ()),
}
_ALSO_LM: dict[str, tuple[Any, tuple[Any, ...]]] = {
    "KalRegisterApp":           (_u16, (_u16,)),
    "KalUnregisterApp":         (None, (_u16,)),
    "KalOpen":                  (_i32, (_u16, _u16, _u16)),
    "KalClose":                 (_i32, (_u16, _u16)),
    "KalStartDoc":              (_i32, (_u16, _u32, _text)),
    "KalWrite":                 (_i32, (_u16, _u16, _u32, _bytes, _pu32)),
    "KalEndDoc":                (_i32, (_u16, _u32)),
    "KalEnumPrinters":          (_i32, (_u16, _u32, PortCallback)),
    "KalEnumSpecificPort":      (_i32, (_u16, _u32, _text, PortCallback)),
    "KalEnumByUNC":             (_i32, (_u16, _u32, _text, PortCallback)),
    "KalCaptureAlerts":         (_i32, (_u16, _u16, _pu32, _window)),
    "KalReleaseAlerts":         (_i32, (_u16, _u16)),
    "KalQueryAlerts":           (_i32, (_u16, _u16, _u16, _u16, _bytes, _pu16)),
    "KalSendBidi":              (_i32, (_u16, _u16, _u16, _u16, _bytes, _pu32, _bytes, _u16)),
}
_NOT_READ = """
    KalDeviceIoControl KalEnumJobs KalEnumSpecificEx KalExchangeNetInfo KalFlushMWOBuffer KalGetConnectionNames
    KalGetDeviceIDString KalGetDeviceIDStringEx KalGetJobAlertInfo KalGetNetInfo KalGetNets KalGetPollingInterval
    KalGetPrinterAddr KalGetPrinterAddrEx KalGetPrinterName KalGetPrtInfo KalGetQueueUpdate KalGetVersion
    KalGetVersionEx KalGetVersionInfoEx KalIsUserAdmin KalMonitorPrinter KalMoveJob KalPing KalQueryPortType
    KalQueryPrintBuffer KalReceiveShutdownNotification KalReleaseJobs KalReleasePort KalReleaseQueues KalRetrieveData
    KalSetJobStatus KalSetNetInfo KalSetPollingInterval KalSetQueueStatus KalStartRpcServer KalStartTrace KalStopTrace
    KalStoreData KalUninstallORX KalWriteUNI KalCaptureAlertsEx KalEnumSpecific
    KalCaptureAlertsExLM KalDeviceIoControlLM KalEnumSpecificExLM KalEnumSpecificLM KalExchangeNetInfoLM
    KalGetConnectionNamesLM KalGetDeviceIDStringExLM KalGetDeviceIDStringLM KalGetNetInfoLM KalGetNetsLM
    KalGetPrinterAddrExLM KalGetPrinterAddrLM KalGetPrinterNameLM KalGetPrtInfoLM KalGetVersionExLM
    KalGetVersionInfoExLM KalGetVersionLM KalMonitorPrinterLM KalReceiveShutdownNotificationLM KalReleasePortLM
    KalSetNetInfoLM KalStartTraceLM KalStopTraceLM
""".split()

#: Every export: result type (None: nothing) and argument types.
PROTOTYPES: dict[str, tuple[Any, tuple[Any, ...]]] = {
    **_PLAIN,
    **_ALSO_LM,
    **{name + "LM": prototype for name, prototype in _ALSO_LM.items()},
    **{name: (_i32, ()) for name in _NOT_READ},
}


def declare(library: Any) -> Any:
    """Sets the result and argument types of every export of a loaded library, and returns the library."""
    for name, (result, arguments) in PROTOTYPES.items():
        function = getattr(library, name)
        function.restype = result
        function.argtypes = arguments
    return library


def load(path: Optional[os.PathLike[str] | str] = None) -> Any:
    """Loads kalclient.dll and declares its exports. Raises OSError if this is not 64-bit Windows or the file is missing."""
    if sys.platform != "win32" or ctypes.sizeof(ctypes.c_void_p) != 8:
        raise OSError("kalclient.dll needs a 64-bit Python on Windows")
    chosen = path or os.environ.get("KALCLIENT_DLL") or pathlib.Path(__file__).resolve().parent / "kalclient.dll"
    return declare(ctypes.CDLL(str(pathlib.Path(chosen).resolve())))


class KalError(Exception):
    """An export failed. ``result`` is its result, ``call`` the name of the export."""

    def __init__(self, call: str, result: int) -> None:
        known = Result(result).name if result in set(Result) else "unknown result"
        super().__init__(f"{call}: {known} ({result})")
        self.call = call
        self.result = result


@dataclass(frozen=True)
class FoundPrinter:
    """A copy of a PortInfoRecord that stays valid after the callback. Names are bytes in the machine's narrow encoding. They
    are decoded as Latin-1, so that no byte is lost."""

    handle: int
    port_name: str
    second_name: str
    port_type: int
    device_class: int
    mac_address: Optional[bytes]

    @classmethod
    def copied_from(cls, record: "ctypes._Pointer[PortInfoRecord]") -> "FoundPrinter":
        found = record.contents
        second_name = ctypes.string_at(ctypes.addressof(found) + PortInfoRecord.secondName.offset)
        return cls(found.handle, found.portName.decode("latin-1"), second_name.decode("latin-1"), found.portType,
                   found.deviceClass, bytes(found.macAddress) if found.isHostBasedNetwork else None)


class Application:
    """One registration of this process, released at the end of ``with``.

    :param server: the machine of the communication service; None for this one.
    :param library: path of kalclient.dll, or a library that ``load()`` returned.
    """

    def __init__(self, server: Optional[str] = None, library: Any = None) -> None:
        path = library is None or isinstance(library, (str, os.PathLike))
        self.library = load(library) if path else library
        result = self.library.KalRegisterWithRpcServer(server.encode("ascii") if server else None)
        if result != 1:
            raise KalError("KalRegisterWithRpcServer", result)
        self._registered = True

    def __enter__(self) -> "Application":
        return self

    def __exit__(self, kind: Optional[type[BaseException]], error: Optional[BaseException],
                 trace: Optional[TracebackType]) -> None:
        self.unregister()

    def unregister(self) -> None:
        """Releases the registration once, which closes every printer made from it."""
        if self._registered:
            self._registered = False
            self.library.KalUnregisterApp(0)

    def call(self, name: str, *arguments: Any) -> int:
        """Calls an export by name and returns its result. Raises RuntimeError after ``unregister()``."""
        if not self._registered:
            raise RuntimeError(f"{name} after unregister()")
        return getattr(self.library, name)(*arguments)

    def check(self, name: str, *arguments: Any) -> None:
        """As ``call``, but raises KalError for every result except KAL_OKAY."""
        result = self.call(name, *arguments)
        if result != Result.OKAY:
            raise KalError(name, result)

    def enumerate(self, net_types: int = NetType.IP | NetType.USB | NetType.LOCAL) -> list[FoundPrinter]:
        """Returns the printers of the chosen kinds."""
        return self._collect(lambda callback: self.check("KalEnumPrinters", 0, int(net_types), callback))

    def find_port(self, port_name: str, net_types: int = NetType.ANY) -> Optional[FoundPrinter]:
        """Returns the printer on a port, or None."""
        name = port_name.encode("latin-1")
        found = self._collect(lambda callback: self.call("KalEnumSpecificPort", 0, int(net_types), name, callback))
        return found[0] if found else None

    @staticmethod
    def _collect(ask: Callable[[Any], Any]) -> list[FoundPrinter]:
        found: list[FoundPrinter] = []
        callback = PortCallback(lambda record: found.append(FoundPrinter.copied_from(record)))
        ask(callback)
        return found

    def open(self, handle: int) -> "Printer":
        """Opens a printer by its handle; use the result in ``with``."""
        self.check("KalOpen", 0, handle, 0)
        return Printer(self, handle)


class Printer:
    """One open of a printer, closed at the end of ``with``."""

    _CHUNK = 64 * 1024
    _MOST_FUTILE_WRITES = 5
    _PAUSE_SECONDS = 0.2

    def __init__(self, application: Application, handle: int) -> None:
        self.application = application
        self.handle = handle
        self._open = True

    def __enter__(self) -> "Printer":
        return self

    def __exit__(self, kind: Optional[type[BaseException]], error: Optional[BaseException],
                 trace: Optional[TracebackType]) -> None:
        self.close()

    def close(self) -> None:
        """Closes the printer once."""
        if self._open:
            self._open = False
            self.application.call("KalClose", 0, self.handle)

    def print(self, document: bytes, name: str = "", port_type: int = NetType.ANY) -> None:
        """Prints a document unchanged. If the job fails, cancels it and raises KalError."""
        self.application.check("KalStartDoc", self.handle, port_type, name.encode("latin-1", "replace") or None)
        try:
            self._send(document, port_type)
            self.application.check("KalEndDoc", self.handle, port_type)
        except BaseException:
            self.application.call("KalCancelJob", 0, self.handle)
            raise

    def _send(self, document: bytes, port_type: int) -> None:
        sent = futile = 0
        while sent < len(document):
            chunk = document[sent:sent + self._CHUNK]
            count = ctypes.c_uint32(len(chunk))
            result = self.application.call("KalWrite", 0, self.handle, port_type, chunk, ctypes.byref(count))
            taken = min(count.value, len(chunk)) if result == Result.OKAY else 0
            if taken == 0:
                # A full buffer is KAL_FAIL, too, after 2 s: offer the bytes again, a limited number of times.
                futile += 1
                if result not in (Result.OKAY, Result.FAIL) or futile == self._MOST_FUTILE_WRITES:
                    raise KalError("KalWrite", result if result != Result.OKAY else Result.FAIL)
                time.sleep(self._PAUSE_SECONDS)
            sent += taken

    def is_printing(self) -> bool:
        """Whether the printer is printing."""
        status, needed = PrinterStatusRecord(), ctypes.c_uint32()
        self.application.check("KalQueryPrinterStatus", 0, self.handle, 0, ctypes.byref(status),
                               ctypes.sizeof(status), ctypes.byref(needed))
        return bool(status.isPrinting)

    def bidi(self, function: int, data: bytes = b"", response_size: int = 4096) -> bytes:
        """Sends one bidi request and returns the printer's response."""
        response, size = ctypes.create_string_buffer(response_size), ctypes.c_uint32(response_size)
        self.application.check("KalSendBidi", 0, self.handle, 0, function, response, ctypes.byref(size), data or None,
                               len(data))
        return response.raw[:size.value]
