#!/usr/bin/env python3
"""Every test that the table of quirks in docs/architecture.md names exists in the sources."""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
table = (ROOT / "docs/architecture.md").read_text().split("## What must stay odd")[1]
named = re.findall(r"`(\w+)\.(\w+)` \|$", table, re.MULTILINE)
sources = "\n".join(path.read_text() for path in (ROOT / "tests").rglob("*Test.cpp"))
existing = set(re.findall(r"^TEST(?:_[FP])?\((\w+), (\w+)\)", sources, re.MULTILINE))
gone = [".".join(each) for each in named if each not in existing]
print("\n".join(f"{each} is named but does not exist." for each in gone) or f"{len(named)} tests: all there.")
sys.exit(bool(gone) or not named)
