#!/usr/bin/env python3
"""Every row of the table of quirks in docs/architecture.md names a test, which exists in the sources."""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
table = (ROOT / "docs/architecture.md").read_text().split("## What must stay odd")[1]
rows = re.findall(r"^\|(.*)\|$", table, re.MULTILINE)[2:]
named = [match.groups() for row in rows if (match := re.search(r"`(\w+)\.(\w+)` $", row))]
nameless = [row.split(" | ")[0].strip() for row in rows if not re.search(r"`\w+\.\w+` $", row)]
sources = "\n".join(path.read_text() for path in (ROOT / "tests").rglob("*Test.cpp"))
existing = set(re.findall(r"^TEST(?:_[FP])?\((\w+), (\w+)\)", sources, re.MULTILINE))
complaints = [f"{'.'.join(each)} is named but does not exist." for each in named if each not in existing]
complaints += [f"No test is named for: {each}" for each in nameless]
print("\n".join(complaints) or f"{len(named)} tests are named, and all exist.")
sys.exit(bool(complaints) or not named)
