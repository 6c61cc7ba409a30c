#!/usr/bin/env python3
"""Holds the declarations for Python and C# against the description of the binary interface, and runs the Python layer
against a library made of C-callable Python functions, so that every argument really travels through its declared type."""
import ctypes
import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.dont_write_bytecode = True
sys.path.insert(0, str(ROOT / "bindings/python"))
import kal  # noqa: E402

INTERFACE = json.loads((ROOT / "abi/kal.abi.json").read_text())


def width_and_kind(declared):
    if declared is None:
        return ("nothing", 0)
    if declared is kal.PortCallback:
        return ("callback", 8)
    if declared in (ctypes.c_char_p, ctypes.c_void_p) or issubclass(declared, ctypes._Pointer):
        return ("pointer", ctypes.sizeof(declared))
    return ("signed" if declared(-1).value < 0 else "unsigned", ctypes.sizeof(declared))


def pointed_to(declared):
    names = {ctypes.c_char_p: {"const char"}, ctypes.c_void_p: {"void", "const void"},
             ctypes.POINTER(ctypes.c_uint32): {"uint32_t", "const uint32_t"},
             ctypes.POINTER(ctypes.c_uint16): {"uint16_t"}}
    return names[declared]


class PythonSignatures(unittest.TestCase):
    def test_every_export_is_declared_and_nothing_else(self):
        self.assertEqual(set(kal.PROTOTYPES), set(INTERFACE["exports"]))

    def test_results_have_the_described_kind_and_width(self):
        for name, export in INTERFACE["exports"].items():
            with self.subTest(name):
                described = export["result"]
                self.assertEqual(width_and_kind(kal.PROTOTYPES[name][0]), (described["kind"], described["width"]))

    def test_arguments_have_the_described_kind_and_width(self):
        for name, export in INTERFACE["exports"].items():
            arguments = export["arguments"] if isinstance(export["arguments"], list) else []
            with self.subTest(name):
                self.assertEqual([width_and_kind(each) for each in kal.PROTOTYPES[name][1]],
                                 [(each["kind"], each["width"]) for each in arguments])

    def test_pointers_point_to_what_is_described(self):
        for name, export in INTERFACE["exports"].items():
            if isinstance(export["arguments"], list):
                for declared, described in zip(kal.PROTOTYPES[name][1], export["arguments"]):
                    if described["kind"] == "pointer":
                        with self.subTest(name, argument=described["name"]):
                            self.assertIn(described["to"], pointed_to(declared))

    def test_records_have_the_described_layout(self):
        for name, record in (("PortInfoRecord", kal.PortInfoRecord), ("KalPrinterStatusRecord", kal.PrinterStatusRecord)):
            described = INTERFACE["records"][name]
            self.assertEqual(ctypes.sizeof(record), described["size"])
            self.assertEqual([(member, getattr(record, member).offset, getattr(record, member).size)
                              for member, _ in record._fields_],
                             [(each["name"], each["offset"], each["size"]) for each in described["members"]])

    def test_constants_have_the_described_values(self):
        numbers = INTERFACE["constants"]
        results = {numbers[name] for name in ("KAL_OKAY", "KAL_FAIL", "DEVERR_INVHANDLE", "DEVERR_CONNECT", "KAL_MOREDATA",
                                              "DEVERR_PROTOCOL", "DEVERR_READFAIL", "KAL_PRNBUSY",
                                              "KAL_REGISTRATION_REFUSED", "KAL_INVALID_FUNCTION")}
        self.assertEqual({int(each) for each in kal.Result}, results)
        self.assertEqual((kal.Result.FAIL, kal.Result.PRINTER_BUSY, kal.Result.MORE_DATA, kal.Result.INVALID_HANDLE),
                         (numbers["KAL_FAIL"], numbers["KAL_PRNBUSY"], numbers["KAL_MOREDATA"],
                          numbers["DEVERR_INVHANDLE"]))
        messages = {each.name.replace("_", ""): int(each) for each in kal.WindowMessage}
        for name, value in numbers.items():
            if name.startswith("WM_KAL_"):
                spelled = name.removeprefix("WM_KAL_").replace("_", "")
                self.assertEqual(messages.get(spelled), value, name)
        for ours, theirs in (("IP", "NETTYPE_IP"), ("P2P", "ENUM_P2P"), ("RHOA", "NETTYPE_RHOA"), ("USB", "NETTYPEUSB"),
                             ("LOCAL", "NETTYPE_LOCAL"), ("ANY", "KAL_PORT_TYPE_ANY"),
                             ("UNSPECIFIED", "KAL_PORT_TYPE_UNSPECIFIED"), ("DISCOVER_FIRST", "KAL_DISCOVER_FIRST")):
            self.assertEqual(int(kal.NetType[ours]), numbers[theirs])
        self.assertEqual((kal.DEVICE_CLASS_BPD, kal.DEVICE_CLASS_CPD),
                         (numbers["KAL_DEVICE_CLASS_BPD"], numbers["KAL_DEVICE_CLASS_CPD"]))
        for name in ("PORT_NAME_SIZE", "PRINTER_STATUS_SIZE", "SECOND_NAME_MINIMUM", "SECOND_NAME_OFFSET"):
            self.assertEqual(getattr(kal, name), numbers[f"KAL_{name}"], name)

    def test_loading_elsewhere_than_on_windows_is_refused(self):
        with self.assertRaises(OSError):
            kal.load("kalclient.dll")


class CallableLibrary:
    """Stands in for the loaded DLL: each export is a C function pointer of its declared type around a Python function."""

    def __init__(self, **behaviour):
        self.calls = []
        for name, (result, arguments) in kal.PROTOTYPES.items():
            act = behaviour.get(name, lambda *_: None if result is None else 0)
            setattr(self, name, ctypes.CFUNCTYPE(result, *arguments)(self._recorded(name, act)))

    def _recorded(self, name, act):
        def call(*arguments):
            self.calls.append(name)
            return act(*arguments)
        return call


def registering(*_):
    return 1


class PythonLayer(unittest.TestCase):
    def library(self, **behaviour):
        return CallableLibrary(KalRegisterWithRpcServer=registering, **behaviour)

    def test_with_registers_opens_closes_and_unregisters(self):
        library = self.library()
        with kal.Application(library=library) as application, application.open(0x6001):
            pass
        self.assertEqual(library.calls, ["KalRegisterWithRpcServer", "KalOpen", "KalClose", "KalUnregisterApp"])

    def test_refused_registration_is_an_error_and_is_not_given_back(self):
        library = CallableLibrary(KalRegisterWithRpcServer=lambda _: -12)
        with self.assertRaises(kal.KalError) as raised:
            kal.Application(library=library)
        self.assertEqual((raised.exception.result, library.calls), (-12, ["KalRegisterWithRpcServer"]))

    def test_document_arrives_whole_when_the_service_takes_less_than_offered(self):
        received = bytearray()

        def write(_first, _handle, _port_type, data, count):
            taken = min(count[0], 1000)
            received.extend(ctypes.string_at(data, taken))
            count[0] = taken
            return 0

        document = bytes(range(256)) * 300
        library = self.library(KalWrite=write)
        with kal.Application(library=library) as application, application.open(0x6001) as printer:
            kal.Printer._PAUSE_SECONDS = 0
            printer.print(document, "Letter")
        self.assertEqual(bytes(received), document)
        self.assertEqual(library.calls[2], "KalStartDoc")
        self.assertEqual(library.calls[-3:], ["KalEndDoc", "KalClose", "KalUnregisterApp"])

    def test_refused_write_cancels_the_job(self):
        library = self.library(KalWrite=lambda *_: -10)
        with kal.Application(library=library) as application, application.open(0x6001) as printer:
            with self.assertRaises(kal.KalError) as raised:
                printer.print(b"text")
        self.assertEqual(raised.exception.result, kal.Result.CONNECT)
        self.assertEqual(library.calls[-3:], ["KalCancelJob", "KalClose", "KalUnregisterApp"])

    def test_enumeration_copies_the_record_with_a_long_second_name(self):
        room = ctypes.create_string_buffer(ctypes.sizeof(kal.PortInfoRecord) + 100)
        record = kal.PortInfoRecord.from_buffer(room)
        record.handle, record.portName, record.portType, record.deviceClass = 0x6001, b"192.0.2.10", 2, 8
        ctypes.memmove(ctypes.addressof(record) + 100, b"n" * 300 + b"\0", 301)

        def enum_printers(_first, net_types, callback):
            self.assertEqual(net_types, 0x80000002)
            callback(ctypes.pointer(record))
            return 0

        with kal.Application(library=self.library(KalEnumPrinters=enum_printers)) as application:
            found = application.enumerate(kal.NetType.IP | kal.NetType.DISCOVER_FIRST)
        self.assertEqual(found, [kal.FoundPrinter(0x6001, "192.0.2.10", "n" * 300, 2, 8, None)])

    def test_bidi_hands_over_data_and_returns_the_response(self):
        def send(_first, handle, _third, function, response, size, data, length):
            self.assertEqual((handle, function, ctypes.string_at(data, length)), (0x6001, 170, b"\x01\x00\x02"))
            ctypes.memmove(response, b"answer", 6)
            size[0] = 6
            return 0

        with kal.Application(library=self.library(KalSendBidi=send)) as application:
            with application.open(0x6001) as printer:
                self.assertEqual(printer.bidi(170, b"\x01\x00\x02"), b"answer")

    def test_call_after_unregistering_is_refused_without_reaching_the_library(self):
        library = self.library()
        application = kal.Application(library=library)
        printer = application.open(0x6001)
        application.unregister()
        with self.assertRaises(RuntimeError):
            printer.print(b"text")
        self.assertNotIn("KalStartDoc", library.calls)


class CSharp(unittest.TestCase):
    def test_declarations_are_those_that_the_description_gives(self):
        done = subprocess.run([ROOT / "bindings/csharp/generate", "--check"], capture_output=True, text=True)
        self.assertEqual(done.returncode, 0, done.stderr)

    def test_compiled_declarations_have_the_described_layout(self):
        with tempfile.TemporaryDirectory() as folder:
            program = pathlib.Path(folder) / "layout.exe"
            subprocess.run(["mcs", "-warnaserror+", f"-out:{program}", ROOT / "tests/package/KalLayout.cs",
                            ROOT / "bindings/csharp/Kal.cs"], check=True)
            printed = subprocess.run(["mono", program], check=True, capture_output=True, text=True).stdout
        found = dict(line.rsplit(" ", 1) for line in printed.splitlines())
        described = {f"{name}()": len(each["arguments"]) if isinstance(each["arguments"], list) else 0
                     for name, each in INTERFACE["exports"].items()}
        for name, record in INTERFACE["records"].items():
            described[name] = record["size"]
            described.update({f"{name}.{member['name']}": member["offset"] for member in record["members"]})
        self.assertEqual({name: int(number) for name, number in found.items()}, described)


if __name__ == "__main__":
    unittest.main()
