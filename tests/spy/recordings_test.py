#!/usr/bin/env python3
"""Checks the recordings of the contract tests that ran through the spy: recordings_test.py RESULTS FOLDER...

The report of each suite in RESULTS must show that it finished, with the same tests and results as without the spy, if there
is a report of that run too. The newest recording in each FOLDER must be complete: a header, lines that are JSON, and an end
for every call and callback of the same thread. Together, the recordings must contain every entry point and callbacks of each
kind."""
import json
import pathlib
import sys
import xml.etree.ElementTree as xml

# Number of threads that a suite terminates during a callback. Nothing ends what such a thread began.
TERMINATED_THREADS = {"contract_alerts": 1}

failures = []
seen_entry_points, seen_callbacks, calls = set(), set(), 0


def examine(path: pathlib.Path, terminated_threads: int) -> None:
    global calls
    lines = path.read_bytes().split(b"\n")
    if lines.pop() != b"":
        failures.append(f"{path}: the last line has no end")
    header, *events = map(json.loads, lines)
    if header.get("recording") != "comc.dll" or header.get("format") != 1:
        failures.append(f"{path}: no header")
    begun, time = {}, 0
    for event in events:
        if event["event"] == "bytes":
            continue
        if event["time"] < time:
            failures.append(f"{path}: event {event['number']} is earlier than the one before it")
        time = event["time"]
        if event["event"] in ("call", "callback"):
            begun[event["number"]] = event
        elif event["event"] in ("return", "callbackReturn"):
            begin = begun.pop(event["number"], None)
            if begin is None or begin["thread"] != event["thread"] or begin.get("entryPoint") != event.get("entryPoint"):
                failures.append(f"{path}: the end {event['number']} has no beginning")
        if event["event"] == "call":
            seen_entry_points.add(event["entryPoint"])
            calls += 1
        elif event["event"] == "callback":
            seen_callbacks.add(event["kind"])
    threads = {event["thread"] for event in begun.values()}
    if len(threads) != terminated_threads:
        failures.append(f"{path}: {sorted(begun)} have no end; the suite terminates {terminated_threads} threads, not {len(threads)}")


def results(report: pathlib.Path) -> dict[str, bool]:
    cases = xml.parse(report).getroot().iter("testcase")
    return {f"{case.get('classname')}.{case.get('name')}": case.find("failure") is None for case in cases}


reports = pathlib.Path(sys.argv[1])
for folder in map(pathlib.Path, sys.argv[2:]):
    suite = folder.parent.name.removeprefix("spied_")
    through, direct = reports / f"spied_{suite}.xml", reports / f"{suite}.xml"
    if not through.exists():
        failures.append(f"{suite} did not come to its end")
    elif direct.exists() and direct.stat().st_mtime > folder.parent.joinpath("staged").stat().st_mtime:
        ours, theirs = results(through), results(direct)
        failures += [f"{name} ends otherwise through the spy" for name in theirs if ours.get(name) != theirs[name]]
    recordings = sorted(folder.glob("*.jsonl"), key=lambda path: path.stat().st_mtime)
    if not recordings:
        failures.append(f"{folder}: no recording, the calls did not go through the spy")
        continue
    for old in recordings[:-1]:
        old.unlink()
    examine(recordings[-1], TERMINATED_THREADS.get(suite, 0))
if len(seen_entry_points) != 90:
    failures.append(f"{len(seen_entry_points)} entry points were seen, there are 90")
if seen_callbacks != {"enum", "alert", "notification"}:
    failures.append(f"callbacks were seen of {sorted(seen_callbacks)} only")
print("\n".join(failures) or f"{calls} calls of {len(seen_entry_points)} entry points in {len(sys.argv) - 2} recordings: complete.")
sys.exit(bool(failures))
