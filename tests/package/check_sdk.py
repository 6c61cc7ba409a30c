#!/usr/bin/env python3
"""Looks an unpacked SDK over: check_sdk.py SDK SOURCE_DIR BUILD_DIR. The versions agree, no file betrays where it was
built, the DLLs need nothing but the system, and the list of parts is a sound SPDX 2.3 document."""
import hashlib
import json
import pathlib
import re
import subprocess
import sys

sdk, *private_paths = (pathlib.Path(argument).resolve() for argument in sys.argv[1:])
failures = []


def expect(condition: bool, message: str) -> None:
    if not condition:
        failures.append(message)


header = (sdk / "include/kal.h").read_text()
version = ".".join(re.search(rf"KAL_VERSION_{part} (\d+)", header)[1] for part in ("MAJOR", "MINOR", "PATCH"))
files = {path.relative_to(sdk).as_posix(): path.read_bytes() for path in sdk.rglob("*") if path.is_file()}

# One version everywhere.
expect(f"Version: {version}" in files["lib/pkgconfig/kal.pc"].decode(), "kal.pc has another version")
expect(f'PACKAGE_VERSION "{version}"' in files["lib/cmake/kal/kalConfigVersion.cmake"].decode(),
       "kalConfigVersion.cmake has another version")
entries = re.findall(r"^## \[(.+?)\]( - (?:unreleased|\d{4}-\d\d-\d\d))?$", files["CHANGELOG.md"].decode(), re.MULTILINE)
expect(bool(entries) and entries[0] == ("Unreleased", ""), "CHANGELOG.md does not begin with what is not released")
expect(len(entries) > 1 and entries[1][0] == version and bool(entries[1][1]),
       f"CHANGELOG.md's newest version is not a dated or unreleased {version}")
BINARIES = ("bin/kalclient.dll", "bin/kal.exe", "simulator/comc.dll", "spy/comc.dll", "spy/comc-recorder.dll")
for name in BINARIES:
    key = "ProductVersion\0".encode("utf-16-le")
    at = files[name].find(key)
    shown = files[name][at + len(key):at + len(key) + 40].decode("utf-16-le", "replace").strip("\0").split("\0")[0]
    expect(at > 0 and shown == version, f"{name} shows version {shown!r} in its properties")

# Nothing in it says where it was built, and nothing shipped depends on more than Windows.
for name, data in files.items():
    for path in private_paths:
        expect(str(path).encode() not in data, f"{name} contains {path}")
for name in BINARIES:
    table = subprocess.run(["x86_64-w64-mingw32-objdump", "-p", sdk / name], capture_output=True, text=True, check=True)
    imported = {each.lower() for each in re.findall(r"DLL Name: (\S+)", table.stdout)}
    foreign = imported - {"kernel32.dll", "user32.dll", "advapi32.dll", "shell32.dll", "msvcrt.dll", "ws2_32.dll",
                          "version.dll", "ole32.dll", "bcrypt.dll", "kalclient.dll"}
    expect(not foreign, f"{name} needs {foreign}")
expect("comc.dll" not in {path.name for path in (sdk / "bin").iterdir()}, "the simulator lies beside kalclient.dll")

# The two import libraries name every export.
exports = set(json.loads(files["abi/kal.abi.json"])["exports"])
for name, tool in (("lib/libkalclient.dll.a", "x86_64-w64-mingw32-nm"), ("lib/kalclient.lib", "llvm-nm")):
    listed = subprocess.run([tool, sdk / name], capture_output=True, text=True, check=True).stdout
    expect({each for each in re.findall(r" T (\w+)", listed) if not each.startswith("_")} == exports,
           f"{name} does not offer exactly the exports")

# The reference is there, without what it was made of, and its search knows the exports.
expect("docs/html/results_page.html" in files, "the reference lacks its page of results")
expect(not any(name.startswith(("docs/doxygen", "docs/xml")) for name in files), "the reference's workshop is in the archive")
searched = b"".join(data for name, data in files.items() if name.startswith("docs/html/search/all_")).decode()
expect(not [name for name in exports if f"'{name}'" not in searched], "the reference's search does not know every export")

# The list of parts.
bill = json.loads(files["kal.spdx.json"])
identifiers = [each["SPDXID"] for each in (bill, *bill["packages"], *bill["files"])]
expect(bill["spdxVersion"] == "SPDX-2.3" and bill["dataLicense"] == "CC0-1.0", "the list of parts is not SPDX 2.3")
expect(len(set(identifiers)) == len(identifiers), "two parts have one identifier")
expect(all(re.fullmatch(r"SPDXRef-[A-Za-z0-9.-]+", each) for each in identifiers), "an identifier has a bad character")
for each in bill["relationships"]:
    for end in ("spdxElementId", "relatedSpdxElement"):
        expect(each[end] in identifiers, f"{each[end]} is related to but not listed")
listed = {each["fileName"].removeprefix("./"): each for each in bill["files"]}
expect(set(listed) == set(files) - {"kal.spdx.json", "SHA256SUMS"}, "the list of parts and the archive differ in files")
for name, each in listed.items():
    for sum_ in each["checksums"]:
        actual = hashlib.new(sum_["algorithm"].lower(), files.get(name, b"")).hexdigest()
        expect(sum_["checksumValue"] == actual, f"the list of parts has a wrong {sum_['algorithm']} for {name}")
parts = {each["name"]: each for each in bill["packages"]}
for name in ("CLI11", "nlohmann-json", "libstdc++", "libgcc", "mingw-w64-crt", "winpthreads", "doxygen-html", "doxygen-awesome"):
    expect(bool(parts.get(name, {}).get("versionInfo")), f"{name} is not listed with its version")

# A binary contains these strings exactly if the library is linked into it. libgcc has no such string, and few parts of
# winpthreads have one; notices_test.py compares these two with the linker's maps.
TRACES = {"libstdc++": b"St9exception", "mingw-w64-crt": b"Mingw-w64", "nlohmann-json": b"nlohmann", "CLI11": b"N3CLI"}
names = {each["SPDXID"]: each for each in (*bill["packages"], *bill["files"])}
linked = {(names[each["spdxElementId"]].get("fileName", "").removeprefix("./"), names[each["relatedSpdxElement"]].get("name"))
          for each in bill["relationships"] if each["spdxElementId"] in names and each["relatedSpdxElement"] in names}
for name in BINARIES:
    for part, trace in TRACES.items():
        expect((trace in files[name]) == ((name, part) in linked),
               f"the list of parts is wrong about {part} in {name}")

# Every relative link of a page leads to something that is shipped.
for name in files:
    if name.endswith(".md"):
        for target in re.findall(r"\]\((?!https?:|@ref|#)([^)#\s]+)", files[name].decode()):
            expect((sdk / name).parent.joinpath(target).exists(), f"{name} leads to {target}, which is not shipped")

print("\n".join(failures) or f"{len(files)} files of version {version}: sound.")
sys.exit(bool(failures))
