#!/usr/bin/env python3
"""Prints a document from Python to the simulator and compares what arrived: print_document.py SDK. For a 64-bit Python on
Windows."""
import pathlib
import shutil
import sys
import tempfile

sdk = pathlib.Path(sys.argv[1]).resolve()
sys.path.insert(0, str(sdk / "bindings/python"))
import kal  # noqa: E402

place = pathlib.Path(tempfile.mkdtemp())
shutil.copy(sdk / "bin/kalclient.dll", place)
shutil.copy(sdk / "simulator/comc.dll", place)

document = bytes(range(256)) * 1000
with kal.Application(library=place / "kalclient.dll") as application:
    found = application.enumerate()
    if 0x6001 not in [printer.handle for printer in found]:
        sys.exit(f"the simulator's printer was not found among {found}")
    with application.open(0x6001) as printer:
        printer.print(document, "Letter")

arrived = [path.read_bytes() for path in (place / "spool").glob("*.prn")]
if arrived != [document]:
    sys.exit(f"{[len(each) for each in arrived]} bytes arrived, not {len(document)}")
print("The document arrived.")
