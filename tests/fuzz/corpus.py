#!/usr/bin/env python3
"""The kept inputs of the fuzz targets: corpus/TARGET.txt, one input per line, its name and its bytes in hexadecimal digits.

corpus.py unpack TARGET FOLDER        writes each input to a file of its name, as libFuzzer reads them
corpus.py add TARGET FOLDER           adds the inputs of a folder that the corpus does not have yet; prints their names
corpus.py add-file TARGET NAME FILE   adds one input under a name that says what it is, for example one that failed
"""
import hashlib
import sys
from pathlib import Path

CORPUS = Path(__file__).resolve().parent / "corpus"
NAME_LENGTH = 12  # of an input that a fuzzer found: the first digits of its SHA-1


def read(target):
    """The inputs by name."""
    path = CORPUS / f"{target}.txt"
    if not path.exists():
        return {}
    inputs = {}
    for number, line in enumerate(path.read_text(encoding="ascii").splitlines(), 1):
        name, _, digits = line.partition(" ")
        if not name or name in inputs:
            sys.exit(f"{path}:{number}: the name is missing or not unique")
        inputs[name] = bytes.fromhex(digits)
    return inputs


def write(target, inputs):
    CORPUS.mkdir(exist_ok=True)
    lines = [f"{name} {content.hex()}".rstrip() + "\n" for name, content in sorted(inputs.items())]
    (CORPUS / f"{target}.txt").write_text("".join(lines), encoding="ascii")


def unpack(target, folder):
    folder = Path(folder)
    folder.mkdir(parents=True, exist_ok=True)
    for name, content in read(target).items():
        (folder / name).write_bytes(content)


def add(target, folder):
    inputs = read(target)
    known = set(inputs.values())
    for file in sorted(Path(folder).iterdir()):
        content = file.read_bytes()
        if content not in known:
            name = hashlib.sha1(content).hexdigest()[:NAME_LENGTH]
            inputs[name] = content
            print(f"{target}: {name}")
    write(target, inputs)


def add_file(target, name, file):
    write(target, {**read(target), name: Path(file).read_bytes()})


COMMANDS = {"unpack": unpack, "add": add, "add-file": add_file}

if __name__ == "__main__":
    if len(sys.argv) < 2 or sys.argv[1] not in COMMANDS:
        sys.exit(__doc__)
    COMMANDS[sys.argv[1]](*sys.argv[2:])
