#!/usr/bin/env python3
"""guide_filter.py PAGE: prints a page of docs/ as doxygen reads it.

Headings get the names by which links between the pages refer to them. A link to a file that isn't a page of the
reference becomes plain text.
"""
import os
import re
import sys

LEFT_OUT = ("testing.md", "performance.md", "tools-tried.md")


def main():
    path = sys.argv[1]
    folder = os.path.dirname(path)
    page = os.path.basename(path).removesuffix(".md")
    in_code = False
    for line in open(path, encoding="utf-8").read().rstrip("\n").split("\n"):
        in_code ^= line.startswith("```")
        if not in_code and not line.startswith(("```", "    ")):
            line = with_name(page, linked(folder, page, line))
        print(line)


def with_name(page, line):
    heading = re.match(r"#+ (.*)", line)
    return f"{line} {{#{page}-{name_of(heading.group(1))}}}" if heading and "{#" not in line else line


def name_of(heading):
    return re.sub(r"[^a-z0-9 -]", "", heading.lower()).replace(" ", "-")


def linked(folder, page, line):
    def target(match):
        words, file, name = match.groups()
        if not file:
            return f"[{words}](#{page}-{name})"
        if file.startswith("http"):
            return match.group()
        if "/" in file or file in LEFT_OUT or not os.path.exists(os.path.join(folder, file)):
            return words
        return f"[{words}](#{file.removesuffix('.md')}-{name})" if name else match.group()

    return re.sub(r"\[([^]]*)\]\(([^)#]*)(?:#([^)]*))?\)", target, line)


if __name__ == "__main__":
    main()
