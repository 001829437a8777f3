#!/usr/bin/env python3
"""doxygen_filter.py HEADER: prints a header as doxygen reads it.

Doxygen's commands are made from the plain comments, so that functions have tables of their parameters.
"""
import os
import re
import sys

sys.dont_write_bytecode = True  # nothing is written to the source tree
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from header_comments import Comment, Header  # noqa: E402


def main():
    print("\n".join(filtered(Header(sys.argv[1]))))


def filtered(header):
    lines = [with_member_comment(line) for line in header.lines]
    for entry in header.declarations:
        if entry.last > entry.first or lines[entry.first].startswith("/*"):
            replace(lines, entry.first, entry.last, declaration_comment(entry))
    for number, (section, first, last) in enumerate(header.notes):
        command = ["@file"] if number == 0 else ["@file", f"**{section.title}**", ""] if section.title else ["@file"]
        notes = section.notes[[note[1] for note in header.notes if note[0] is section].index(first)]
        replace(lines, first, last, command + list(paragraphs(Comment(notes, []).text)))
    return lines


def replace(lines, first, last, words):
    """Puts a comment in the place of another."""
    lines[first] = "/** " + "\n".join(words) + " */"
    for i in range(first + 1, last + 1):
        lines[i] = ""


def with_member_comment(line):
    """A comment after a member or a macro describes it."""
    return re.sub(r"^((?: +\S.*|#define .*[^\\])) /\* (.*) \*/$", r"\1 /**< \2 */", line)


def declaration_comment(entry):
    comment = entry.comment
    first = comment.first
    words = list(paragraphs([first] + [part for part in comment.text if part != first]))
    for names, parts in comment.arguments:
        text = " ".join(paragraphs(parts)).strip()
        words += ["", f"@param {','.join(names)} {text}"]
    if comment.result and entry.code.startswith("void "):
        words += paragraphs(comment.result)
    elif comment.result:
        words += ["", "@return " + "\n".join(paragraphs(comment.result)).strip().removeprefix("Returns ")]
    return words


def paragraphs(parts):
    for part in parts:
        if isinstance(part, str):
            yield ""
            yield safe(part)
        else:
            for name, text in part:
                yield f"- {'`' + name + '`: ' if name else ''}{safe(text)}"


def safe(text):
    """Words that doxygen would take for commands."""
    return re.sub(r"([\\@<>#%&])", r"\\\1", text)


if __name__ == "__main__":
    main()
