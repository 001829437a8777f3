#!/usr/bin/env python3
"""Whether each growth of the record is told of. script/bench-guard runs it.

  notes.py BASE CHANGELOG

Where bench/guard.txt allows a path more than the file BASE does, the changelog needs a line that begins with
"- guard: PATH" in its first section, the one of what is not released yet.
"""

import re
import sys

from guard import RECORD, growth, parse


def first_section(changelog):
    return re.split(r"^## ", changelog, flags=re.MULTILINE)[1]


def untold(record, base, changelog):
    """The growths that the changelog doesn't tell of."""
    told = re.findall(r"^- guard: ([\w-]+)", first_section(changelog), flags=re.MULTILINE)
    known = {path: counts for path, counts in record.items() if path in base}
    return {path: words for path, words in growth(known, base).items() if path not in told}


def check_itself():
    base, record = {"a": (100, 5.0), "b": (100, 5.0)}, {"a": (106, 5.0), "b": (100, 6.0), "new": (1, 1.0)}
    silent, half, full = "## 1\n", "## 1\n- guard: a, for x\n## 0\n- guard: b\n", "## 1\n- guard: a\n- guard: b\n"
    if [len(untold(record, base, text)) for text in (silent, half, full)] != [2, 1, 0]:
        sys.exit("guard: notes are not looked for")


def main():
    check_itself()
    texts = []
    for path in (RECORD, sys.argv[1], sys.argv[2]):
        with open(path, encoding="utf-8") as file:
            texts.append(file.read())
    missing = untold(parse(texts[0]), parse(texts[1]), texts[2])
    for path, words in missing.items():
        print(f"guard: {path}: {words}, and CHANGELOG.md has no line '- guard: {path}' about it")
    sys.exit(1 if missing else 0)


if __name__ == "__main__":
    main()
