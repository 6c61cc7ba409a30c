#!/usr/bin/env python3
"""Makes the reference anew (scripts/docs, which fails on any warning) and looks whether it is whole: reference_test.py
FOLDER, which is made. Every export has purpose, arguments, results, log line, thread rule and example; every link leads
somewhere, without a network; the search finds every export; a second run gives the same bytes."""
import hashlib
import html.parser
import json
import pathlib
import re
import subprocess
import sys
import unittest
import urllib.parse
import xml.etree.ElementTree as xml

ROOT = pathlib.Path(__file__).resolve().parents[2]
FOLDER = pathlib.Path(sys.argv.pop(1) if len(sys.argv) > 1 else ROOT / "build/docs")
EXPORTS = json.loads((ROOT / "abi/kal.abi.json").read_text())["exports"]
SHARED = {"group__unsupported", "group__aliases"}  # groups whose members share log line, thread rule and example


def text(element) -> str:
    return " ".join("".join(element.itertext()).split()) if element is not None else ""


class Described:
    """A function, or a group, as Doxygen understood its comment."""

    def __init__(self, element):
        self.brief = text(element.find("briefdescription"))
        detailed = element.find("detaileddescription")
        self.purpose = " ".join([self.brief, *(text(each) for each in detailed.findall("para"))])
        self.parameters = {text(item.find(".//parametername")): (item.find(".//parametername").get("direction"),
                                                                 text(item.find("parameterdescription")))
                           for item in detailed.iterfind(".//parameterlist[@kind='param']/parameteritem")}
        self.results = [text(each) for each in detailed.iterfind(".//parameterlist[@kind='retval']/parameteritem")]
        self.results += [text(each) for each in detailed.iterfind(".//simplesect[@kind='return']")]
        self.sections = {text(section.find("title")): section for section in detailed.iterfind(".//simplesect[@kind='par']")}
        for blank in detailed.iterfind(".//programlisting//sp"):
            blank.text = " "
        self.example = "\n".join(text(line) for line in detailed.iterfind(".//programlisting/codeline")).strip()

    def has(self, title: str) -> bool:
        return title in self.sections and text(self.sections[title]) != title


class Reference(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        subprocess.run([ROOT / "scripts/docs", FOLDER], check=True)
        cls.functions, cls.groups, cls.group_of = {}, {}, {}
        for file in sorted((FOLDER / "xml").glob("group__*.xml")):
            compound = xml.parse(file).getroot().find("compounddef")
            cls.groups[file.stem] = Described(compound)
            for member in compound.iterfind(".//memberdef[@kind='function']"):
                name = member.findtext("name")
                cls.functions[name] = Described(member)
                cls.group_of[name] = file.stem
        cls.pages = {file.name: file.read_text() for file in sorted((FOLDER / "html").glob("*.html"))}

    def own(self):
        return ((name, each) for name, each in self.functions.items() if self.group_of[name] not in SHARED)

    def test_every_export_is_described_and_nothing_else(self):
        self.assertEqual(set(self.functions), set(EXPORTS))

    def test_every_export_says_what_it_is_for(self):
        for name, function in self.functions.items():
            self.assertRegex(function.brief, r"^\w.*\.$", name)

    def test_every_argument_has_direction_and_description(self):
        for name, function in self.functions.items():
            described = EXPORTS[name]["arguments"]
            described = described if isinstance(described, list) else []
            self.assertEqual(list(function.parameters), [each["name"] for each in described], name)
            for each in described:
                direction, said = function.parameters[each["name"]]
                self.assertTrue(said, f"{name}: {each['name']}")
                expected = {"in"}
                if each["kind"] == "pointer" and each["name"] != "window" and not each["to"].startswith("const"):
                    expected = {"out", "inout"}
                self.assertIn(direction, expected, f"{name}: {each['name']}")

    def test_every_result_is_described(self):
        for name, function in self.functions.items():
            self.assertEqual(bool(function.results), EXPORTS[name]["result"]["kind"] != "nothing", name)

    def test_every_export_has_log_line_thread_rule_and_example(self):
        for name, function in self.own():
            for title in ("Threads", "Log line"):
                self.assertTrue(function.has(title), f"{name}: {title}")
            self.assertRegex(function.example, rf"\b{name}\b", name)

    def test_exports_for_older_applications_share_theirs(self):
        for name in SHARED:
            self.assertTrue(self.groups[name].has("Log line"), name)
            self.assertTrue(self.groups[name].example, name)
        self.assertTrue(self.groups["group__unsupported"].has("Threads"))
        self.assertIn("Thread rule and blocking are those of that export", self.groups["group__aliases"].purpose)

    def test_what_takes_the_place_of_an_unsupported_export_has_an_example(self):
        for name, function in self.functions.items():
            if self.group_of[name] == "group__unsupported":
                instead = re.search(r"use (\w+) instead", function.brief)
                if instead:
                    self.assertTrue(self.functions[instead[1]].example, name)
                else:
                    self.assertRegex(function.brief, r"nothing takes its place|see KAL_VERSION|by its settings|on by its settings")

    def test_an_alias_names_its_export(self):
        for name, function in self.functions.items():
            if self.group_of[name] == "group__aliases":
                self.assertTrue(function.brief.startswith(f"Alias of {name[:-2]}."), name)

    def test_examples_are_those_that_are_compiled(self):
        snippets = "\n".join(file.read_text() for file in (ROOT / "examples/snippets").glob("*.c"))
        named = re.findall(r"@snippet (\w+\.c) (\w+)", (ROOT / "api/kal.h").read_text())
        self.assertGreater(len(named), 30)
        for file, mark in named:
            self.assertEqual((ROOT / "examples/snippets" / file).read_text().count(f"/* [{mark}] */"), 2, mark)
        self.assertEqual(set(re.findall(r"/\* \[(\w+)\] \*/", snippets)), {mark for _, mark in named})

    def test_every_page_is_there(self):
        for name, title in (("index.html", "kalclient"), ("results_page.html", "Results: what happened and what to do"),
                            ("messages_page.html", "Messages"), ("service_codes_page.html", "From code N of the service to result"),
                            ("guide_page.html", "The life of an application")):
            self.assertIn(f'<div class="title">{title}', self.pages[name])
        self.assertGreater(len(re.findall("<tr", self.pages["results_page.html"])), 15)

    def test_every_link_leads_somewhere_within_the_reference(self):
        anchors, links = {}, []

        class Reader(html.parser.HTMLParser):
            def handle_starttag(reader, tag, attributes):
                attributes = dict(attributes)
                anchors[page].update(value for key, value in attributes.items() if key in ("id", "name") and value)
                links.extend((page, attributes[key]) for key in ("href", "src") if attributes.get(key))

        for page, content in self.pages.items():
            anchors[page] = set()
            Reader().feed(content)
        for page, target in links:
            if re.match(r"javascript:|#$", target):
                continue
            address = urllib.parse.urlsplit(target)
            if address.scheme:
                # To be clicked, not loaded.
                self.assertIn(f'<a href="{target}"'.replace("&", "&amp;"), self.pages[page].replace("&amp;amp;", "&amp;"))
                continue
            file = urllib.parse.unquote(address.path) or page
            self.assertTrue((FOLDER / "html" / file).is_file(), f"{page}: {target}")
            if address.fragment and file.endswith(".html"):
                self.assertIn(address.fragment, anchors[file], f"{page}: {target}")
        self.assertGreater(len(links), 1000)

    def test_search_finds_every_name_without_a_server(self):
        found = {}
        for file in (FOLDER / "html/search").glob("all_*.js"):
            for key, places in re.findall(r"\['\w+_\d+',\['(\w+)',\[?(.*?)\]\]", file.read_text()):
                found.setdefault(key, []).extend(re.findall(r"'\.\./([\w.]+)(?:#(\w+))?'", places))
        names = set(EXPORTS) | set(json.loads((ROOT / "abi/kal.abi.json").read_text())["constants"])
        names -= {name for name in names if name.startswith("KAL_VERSION")}
        self.assertEqual(names - set(found), set())
        for name in names:
            for file, place in found[name]:
                self.assertIn(file, self.pages, name)
                self.assertIn(f'"{place}"', self.pages[file], name)
        self.assertTrue((FOLDER / "html/search/search.js").is_file())
        for name, content in self.pages.items():
            self.assertTrue('new SearchBox("searchBox", "search"' in content and "initMenu('',true,false," in content,
                            f"{name}: searches on a server, or not at all")

    def test_second_run_gives_the_same_bytes(self):
        def digests():
            return {file.relative_to(FOLDER).as_posix(): hashlib.sha256(file.read_bytes()).hexdigest()
                    for file in sorted((FOLDER / "html").rglob("*")) if file.is_file()}

        first = digests()
        self.assertGreater(len(first), 100)
        subprocess.run([ROOT / "scripts/docs", FOLDER], check=True)
        self.assertEqual(first, digests())

    def test_nothing_tells_where_it_was_made(self):
        for file in (FOLDER / "html").rglob("*"):
            if file.is_file():
                self.assertNotIn(str(ROOT).encode(), file.read_bytes(), file.name)


if __name__ == "__main__":
    unittest.main()
