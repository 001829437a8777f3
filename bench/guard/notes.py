#!/usr/bin/env python3
"""Checks that the changelog mentions each growth of the record. Run by script/bench-guard.

  notes.py FOLDER

The limit of a path is its lowest cost in any version of bench/guard.txt committed since the last release that has a
record. If the current record allows more, or lacks the path, the first section of the changelog (the unreleased
version) needs a line that begins with "- guard: PATH".
"""

import os
import re
import sys

import history
from guard import RECORD, growth, parse, recorded_for

UNKNOWN = float("inf")


def first_section(changelog):
    return re.split(r"^## ", changelog, flags=re.MULTILINE)[1]


def lowest(versions, toolchain):
    """The lowest cost of each path. Instruction counts of other toolchains are ignored."""
    least = {}
    for text in versions:
        same = recorded_for(text) == toolchain
        for path, (count, calls) in parse(text).items():
            known = least.get(path, (UNKNOWN, UNKNOWN))
            least[path] = (min(known[0], count if same else UNKNOWN), min(known[1], calls))
    return least


def unmentioned(record, versions, changelog):
    """The growths that the changelog doesn't mention, as {path: text}."""
    mentioned = re.findall(r"^- guard: ([\w-]+)", first_section(changelog), flags=re.MULTILINE)
    base, now = lowest(versions, recorded_for(record)), parse(record)
    found = growth({path: counts for path, counts in now.items() if path in base}, base)
    found.update({path: "counted before, not now" for path in base if path not in now})
    return {path: words for path, words in found.items() if path not in mentioned}


def record_of(*rows, toolchain="here"):
    return f"# for {toolchain}\n" + "".join(f"{row}\n" for row in rows)


def check_itself():
    """Checks that neither a growth nor a removed path goes unmentioned."""
    base = [record_of("a 100 5.0", "b 200 9.0", "gone 1 1.0"), record_of("a 150 5.0", "b 100 5.0"),
            record_of("a 10 5.0", "b 10 5.0", toolchain="elsewhere")]
    record = record_of("a 106 5.0", "b 100 6.0", "new 1 1.0")
    silent, some, full = "## 1\n", "## 1\n- guard: a, for x\n## 0\n- guard: b\n", "".join(
        f"{line}\n" for line in ("## 1", "- guard: a", "- guard: b", "- guard: gone"))
    found = [sorted(unmentioned(record, base, text)) for text in (silent, some, full)]
    if found != [["a", "b", "gone"], ["b", "gone"], []] or unmentioned(base[0], base[:1], silent):
        sys.exit("guard: notes are not looked for")


def earlier_records(folder):
    if not os.path.exists(os.path.join(folder, ".git")):
        print("guard: no notes are looked for, as this is no clone")
        return []
    history.check_itself()
    known = history.History(folder)
    if known.is_shallow():
        print(f"guard: a shallow clone: notes are looked for only against what it has of {history.NAME}")
    return known.versions()


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


def main():
    check_itself()
    folder = sys.argv[1]
    try:
        versions = earlier_records(folder)
    except history.NoHistory as missing:
        sys.exit(f"guard: earlier records can't be read: {missing}")
    missing = unmentioned(read(RECORD), versions, read(os.path.join(folder, "CHANGELOG.md")))
    for path, words in missing.items():
        print(f"guard: {path}: {words}, and CHANGELOG.md has no line '- guard: {path}' about it")
    sys.exit(1 if missing else 0)


if __name__ == "__main__":
    main()
