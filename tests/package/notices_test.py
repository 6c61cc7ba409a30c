#!/usr/bin/env python3
"""Checks what the SDK says about other people's work against the linker's maps: notices_test.py SDK BUILD_DIR.

For each shipped binary the map says which parts of which Debian packages are in it. kal.spdx.json names exactly these, and
THIRD-PARTY-NOTICES.txt leads from each to the notice of its package, word for word."""
import functools
import json
import pathlib
import re
import subprocess
import sys
import unittest
import urllib.parse

COMPILER = "x86_64-w64-mingw32-g++-posix"
# The map of each shipped binary, in BUILD_DIR/link-maps.
MAPS = {"bin/kalclient.dll": "kalclient", "bin/kal.exe": "kal", "simulator/comc.dll": "comc_simulator",
        "spy/comc.dll": "spy_front", "spy/comc-recorder.dll": "spy_recorder"}
# Which part a linked file belongs to, by the file's name; the first that fits.
PARTS_OF_FILES = [(r"libstdc\+\+\.a", "libstdc++"), (r"libgcc(_eh)?\.a|crt(begin|end)\.o", "libgcc"),
                  (r"lib(win)?pthread\.a", "winpthreads"), (r"dllcrt2\.o|crt2\.o|lib[\w-]+\.a", "mingw-w64-crt")]
# Packages that are headers only leave sections with their names in the project's own object files.
NAMESPACES = {"N8nlohmann": "nlohmann-json", "N3CLI": "CLI11"}
# Where headers come from: the compiler, Windows and its C library, and those packages.
HEADER_FOLDERS = {"/usr/lib/gcc/x86_64-w64-mingw32", "/usr/share/mingw-w64/include", "/usr/include/nlohmann", "/usr/include/CLI"}
NOT_SHIPPED = ("tests/", "bench/", "googletest/")


@functools.cache
def archive_of_member() -> dict[str, str]:
    """The archive of each object file in the compiler's and Windows' libraries; of the first that has a file of this name."""
    folders = [pathlib.Path(subprocess.run([COMPILER, f"-print-file-name={library}"], capture_output=True, text=True,
                                           check=True).stdout.strip()).parent for library in ("libstdc++.a", "libkernel32.a")]
    archives = {}
    for archive in [path for folder in folders for path in sorted(folder.glob("*.a"))]:
        members = subprocess.run([COMPILER.replace("g++-posix", "ar"), "t", archive], capture_output=True, text=True).stdout
        for member in members.splitlines():
            archives.setdefault(member, str(archive))
    return archives


class LinkMap:
    """The sections that GNU's or LLVM's linker put into one binary."""

    def __init__(self, path: pathlib.Path):
        text = path.read_text()
        _, is_gnu, placed = text.partition("\nLinker script and memory map\n")
        row = (r"^ (?P<section>\S+)\s+0x[0-9a-f]+ +0x(?P<size>[0-9a-f]+) (?P<file>\S.*)$" if is_gnu
               else r"^[0-9a-f]{8} (?P<size>[0-9a-f]{8}) +\d+ +(?P<file>\S.*):\((?P<section>[^()]+)\)$")
        self.sections = [(each["section"], each["file"]) for each in re.finditer(row, placed if is_gnu else text, re.MULTILINE)
                         if int(each["size"], 16)]
        assert self.sections, f"{path} is not a map of either linker"
        if not is_gnu:  # names a member of an archive without the archive
            self.sections = [(section, file if file.endswith((".obj", ".res")) else archive_of_member().get(file, f"/{file}")
                              if not file.startswith("/") else file) for section, file in self.sections]

    def linked_files(self) -> set[str]:
        """Files of the machine; those of this project have relative names."""
        return {re.sub(r"\([^()]*\)$", "", file) for _, file in self.sections if file.startswith("/")}

    def parts(self) -> set[str]:
        found = {part_of(file) for file in self.linked_files()}
        found |= {part for name, file in self.sections if not file.startswith("/")
                  for namespace, part in NAMESPACES.items() if namespace in name}
        return found


def part_of(file: str) -> str:
    name = pathlib.PurePath(file).name
    return next((part for pattern, part in PARTS_OF_FILES if re.fullmatch(pattern, name)), f"unknown part: {file}")


def packages_of(files: set[str]) -> dict[str, str]:
    real = {file: str(pathlib.Path(file).resolve()) for file in files}
    listed = subprocess.run(["dpkg-query", "-S", *sorted(set(real.values()))], capture_output=True, text=True).stdout
    owners = {path: package for package, path in re.findall(r"^(\S+?)(?::\w+)?: (.*)$", listed, re.MULTILINE)}
    return {file: owners.get(path, "none") for file, path in real.items()}


class Notices(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.maps = {binary: LinkMap(BUILD / "link-maps" / f"{name}.map") for binary, name in MAPS.items()}
        bill = json.loads((SDK / "kal.spdx.json").read_text())
        named = {each["SPDXID"]: each for each in (*bill["packages"], *bill["files"])}
        cls.packages = {each["name"]: re.match(r"pkg:deb/debian/([^@]+)@", urllib.parse.unquote(
                            each["externalRefs"][0]["referenceLocator"]))[1]
                        for each in bill["packages"] if "externalRefs" in each}
        cls.listed = {}
        for each in bill["relationships"]:
            user = named.get(each["spdxElementId"], {}).get("fileName", "").removeprefix("./")
            if user:
                cls.listed.setdefault(user, set()).add(named[each["relatedSpdxElement"]]["name"])
        cls.text = (SDK / "THIRD-PARTY-NOTICES.txt").read_text()

    def test_every_shipped_binary_has_a_map(self):
        shipped = {path.relative_to(SDK).as_posix() for path in SDK.rglob("*") if path.suffix in (".dll", ".exe")}
        self.assertEqual(shipped, set(MAPS))

    def test_list_of_parts_is_what_was_linked(self):
        for binary, link_map in self.maps.items():
            with self.subTest(binary):
                self.assertEqual(self.listed[binary], link_map.parts())

    def test_parts_are_of_the_packages_that_the_list_names(self):
        linked = set().union(*(link_map.linked_files() for link_map in self.maps.values()))
        for file, package in packages_of(linked).items():
            with self.subTest(file):
                self.assertEqual(package, self.packages.get(part_of(file)))

    def test_headers_of_no_other_package_are_compiled_in(self):
        listed = subprocess.run(["ninja", "-C", BUILD, "-t", "deps"], capture_output=True, text=True, check=True).stdout
        headers = {header for unit in listed.split("\n\n") if not unit.startswith(NOT_SHIPPED)
                   for header in re.findall(r"^ {4}(/usr/.*)", unit, re.MULTILINE)}
        used = {next((folder for folder in HEADER_FOLDERS if header.startswith(folder + "/")), header) for header in headers}
        self.assertEqual(used, HEADER_FOLDERS)

    def test_every_part_leads_to_the_notice_of_its_package(self):
        for part, package in self.packages.items():
            with self.subTest(part):
                row = re.search(rf"^{re.escape(part)} .*\n(?: .*\n)+", self.text, re.MULTILINE)
                self.assertIsNotNone(row, "THIRD-PARTY-NOTICES.txt does not name it")
                self.assertIn(f"licenses/{package}.txt", row[0])
                for user, parts in self.listed.items():
                    self.assertEqual(part in parts, re.search(rf"(?<![\w/.-]){re.escape(user)}(?![\w/.-])", row[0]) is not None, user)
                self.assertEqual((SDK / f"licenses/{package}.txt").read_bytes(),
                                 pathlib.Path(f"/usr/share/doc/{package}/copyright").read_bytes())

    def test_licences_that_notices_refer_to_are_there(self):
        for notice in (SDK / "licenses").glob("*.txt"):
            for name in re.findall(r"/usr/share/common-licenses/([\w.-]*\w)", notice.read_text()):
                with self.subTest(f"{name}, of {notice.name}"):
                    self.assertEqual((SDK / f"licenses/common-licenses/{name}.txt").read_bytes(),
                                     pathlib.Path(f"/usr/share/common-licenses/{name}").read_bytes())


if __name__ == "__main__":
    BUILD, SDK = pathlib.Path(sys.argv.pop()), pathlib.Path(sys.argv.pop())
    unittest.main()
