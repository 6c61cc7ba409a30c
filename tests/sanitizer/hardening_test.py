#!/usr/bin/env python3
"""Reads the headers of DLLs and programs as Windows does: what of its protections they take part in.

usage: hardening_test.py FILE...
"""
import struct
import sys

DLL_CHARACTERISTICS = {0x0020: "high-entropy address space", 0x0040: "address randomisation", 0x0100: "no-execute data"}
EXECUTABLE, WRITABLE = 0x20000000, 0x80000000
RELOCATIONS_STRIPPED = 0x0001
PE32_PLUS = 0x20B
BASE_RELOCATION_TABLE = 5


def findings(image):
    (pe,) = struct.unpack_from("<I", image, 0x3C)
    if image[:2] != b"MZ" or image[pe : pe + 4] != b"PE\0\0":
        return ["is no PE file"]
    section_count, optional_size, characteristics = struct.unpack_from("<2xH12xHH", image, pe + 4)
    optional = pe + 24
    if struct.unpack_from("<H", image, optional)[0] != PE32_PLUS:
        return ["is not 64-bit"]
    found = []
    (flags,) = struct.unpack_from("<H", image, optional + 70)
    found += [f"lacks {name}" for bit, name in DLL_CHARACTERISTICS.items() if not flags & bit]
    # Without relocations the loader cannot move the image, whatever the flags promise.
    _, size = struct.unpack_from("<II", image, optional + 112 + 8 * BASE_RELOCATION_TABLE)
    if characteristics & RELOCATIONS_STRIPPED or size == 0:
        found.append("has no relocations")
    for section in range(section_count):
        header = optional + optional_size + 40 * section
        name = image[header : header + 8].rstrip(b"\0").decode("ascii", "replace")
        (rights,) = struct.unpack_from("<I", image, header + 36)
        if rights & EXECUTABLE and rights & WRITABLE:
            found.append(f"section {name} can be written and executed")
    return found


def main(paths):
    failed = not paths
    for path in paths:
        with open(path, "rb") as file:
            found = findings(file.read())
        for finding in found:
            print(f"{path} {finding}")
        failed = failed or bool(found)
        if not found:
            print(f"{path}: address randomisation with high entropy, no-execute data, no writable code")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
