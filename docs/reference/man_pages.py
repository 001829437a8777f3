#!/usr/bin/env python3
"""Makes a man page of section 3 of each exported function and object.

    man_pages.py --version VERSION --date DATE --output FOLDER [--exports MAP]... HEADER...

MAP: a list of a library's exports. One that no header declares, or that says nothing about threads, is an error.
"""
import argparse
import os
import re
import sys

sys.dont_write_bytecode = True  # nothing is written to the source tree
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from header_comments import Comment, read_headers, sentences  # noqa: E402

ABOUT_THREADS = re.compile(
    r"\b[Aa]ny thread|\b[Oo]ne thread|one at a time|one caller at a time|main thread|must synchronise|Threads may use")
ABOUT_RESULTS = re.compile(r"\breturns?\b|^Results are |: 1 or 0")
SECOND_VERB = re.compile(r"\b(and|or) (waits|collects|deletes|returns|starts|restarts|kills|links|wakes|leaves|frees|does)\b")
BRIEF = 72  # characters of what a page is for
VERB = re.compile(r"^(?!As |The |This )([A-Z][a-z]+s)\b")


class Book:
    """What all pages know: the functions, and the types of the headers."""

    def __init__(self, headers, version, date):
        declarations = [entry for header in headers for entry in header.declarations]
        self.pages = {entry.name: entry for entry in declarations if entry.kind != "type"}
        self.types = {entry.name: entry for entry in declarations if entry.kind == "type"}
        self.version, self.date = version, date


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--version", required=True)
    parser.add_argument("--date", required=True)
    parser.add_argument("--output", required=True)
    parser.add_argument("--exports", action="append", default=[])
    parser.add_argument("headers", nargs="+")
    options = parser.parse_args()
    book = Book(read_headers(options.headers), options.version, options.date)
    exported = {name for path in options.exports
                for name in re.findall(r"^ {4}([a-z]\w*);", open(path, encoding="utf-8").read(), re.M)}
    faults = [f"{name}: no header declares it" for name in sorted(exported - set(book.pages))]
    os.makedirs(options.output, exist_ok=True)
    for name in sorted(exported & set(book.pages)):
        faults += write_page(book, book.pages[name], options.output)
    for fault in faults:
        print(fault, file=sys.stderr)
    sys.exit(1 if faults else 0)


def write_page(book, entry, folder):
    threads = about_threads(entry)
    faults = [] if threads or entry.kind == "object" else [f"{entry.name}: nothing says which threads may call it"]
    if entry.kind == "function" and not is_void(entry) and not result(entry):
        faults.append(f"{entry.name}: nothing says what it returns")
    if not entry.comment.text and not entry.comment.result:
        faults.append(f"{entry.name}: it has no comment")
    text = "\n".join(page(book, entry, threads)) + "\n"
    with open(os.path.join(folder, entry.name + ".3"), "w", encoding="utf-8") as file:
        file.write(text)
    return faults


def page(book, entry, threads):
    yield f'.TH {entry.name.upper()} 3 "{book.date}" "quorapps {book.version}" "Library calls"'
    yield ".ad l"
    yield ".SH NAME"
    yield f"{entry.name} \\- {escape(brief(entry))}"
    yield from synopsis(entry)
    yield ".SH DESCRIPTION"
    yield from description(book, entry)
    yield from arguments(book, entry)
    if result(entry):
        yield ".SH RETURN VALUE"
        yield from paragraphs(book, entry, result(entry))
    yield from types(book, entry)
    yield ".SH THREADS"
    yield from lines_of(book, entry, " ".join(threads) or "Every process has its own copy.")
    yield from notes(book, entry)
    yield ".SH SEE ALSO"
    yield from see_also(book, entry)


def brief(entry):
    """The first sentence as the name line of a page has it: without an end, and in the base form of its verb."""
    first = re.sub(r" \([^)]*\)", "", sentences(first_text(entry))[0].rstrip("."))
    for separator in (r"[:;]", r", | which | so that "):
        if len(first) > BRIEF:
            first = re.split(separator, first)[0]
    verb = VERB.match(first)
    if verb:
        rest = SECOND_VERB.sub(lambda second: f"{second.group(1)} {base_form(second.group(2))}", first[verb.end():])
        return base_form(verb.group(1).lower()) + rest
    return first[0].lower() + first[1:]


def base_form(verb):
    if verb == "does":
        return "do"
    if verb.endswith("ies"):
        return verb[:-3] + "y"
    return verb[:-2] if verb.endswith(("sses", "shes", "ches", "xes")) else verb[:-1]


def first_text(entry):
    return entry.comment.first or entry.name


def synopsis(entry):
    yield ".SH SYNOPSIS"
    yield ".nf"
    yield f".B #include <{entry.header.name}>"
    yield ".PP"
    code = re.sub(r"\s*__attribute__\(\(.*\)\)", "", entry.code, flags=re.S)
    for line in code.split("\n"):
        yield f"\\fB{escape(line)}\\fP"
    yield ".PP"
    library = {"libmal.h": "mal"}.get(entry.header.name, "quorapps")
    yield f"Compile and link with $(pkg\\-config \\-\\-cflags \\-\\-libs {library})."
    yield ".fi"


def description(book, entry):
    parts = entry.comment.text
    if first_text(entry) not in parts:  # a text about the result, which the page has twice
        parts = [first_text(entry)] + parts
    yield from paragraphs(book, entry, [with_subject(entry, parts[0])] + parts[1:])


def with_subject(entry, text):
    """Puts the function's name before a text that begins with its verb."""
    if VERB.match(text):
        return f"{entry.name} {text[0].lower()}{text[1:]}"
    if text.startswith("As "):
        return f"{entry.name} works as {text[3:]}"
    return text


def arguments(book, entry):
    if not entry.comment.arguments:
        return
    yield ".SH PARAMETERS"
    for names, parts in entry.comment.arguments:
        yield ".TP"
        yield ", ".join(f"\\fI{escape(name)}\\fP" for name in names)
        yield from paragraphs(book, entry, parts, ".IP")


def result(entry):
    """What the function returns, by its own comment or by one for several functions."""
    if entry.comment.result or entry.kind == "object" or is_void(entry):
        return entry.comment.result
    text = first_text(entry)
    if re.search(r"\breturns?\b", text):
        return [one for one in sentences(text) if re.search(r"\breturns?\b", one)]
    other = re.search(r"(?:^|; )[Aa]s (\w+)|applies there|Calls (\w+)", text)
    if other:
        return [f"As {other.group(1) or other.group(2)}."]
    for section in (entry.section, entry.header.sections[0]):
        found = [one for part in note_texts(section) if isinstance(part, str) for one in sentences(part)
                 if ABOUT_RESULTS.search(one)]
        if found:
            return found
    return []


def is_void(entry):
    return re.match(r"void [^*]", entry.code) is not None


def types(book, entry):
    """The records and function types of the prototype and of its results."""
    texts = [entry.code] + [part for part in result(entry) if isinstance(part, str)]
    named = [book.types[word] for text in texts for word in re.findall(r"\w+", text) if word in book.types]
    named = [one for one in dict.fromkeys(named) if "{" in one.code or "(*" in one.code]
    if named:
        yield ".SH TYPES"
    for one in named:
        yield from paragraphs(book, entry, one.comment.text)
        for names, parts in one.comment.arguments:
            yield from paragraphs(book, entry, [f"{', '.join(names)}: {parts[0]}"] + parts[1:])
        if one.comment.text:
            yield ".PP"
        yield ".EX"
        yield from (escape(line) for line in one.code.split("\n"))
        yield ".EE"


def about_threads(entry):
    own = entry.comment.text + entry.comment.result + [part for _, parts in entry.comment.arguments for part in parts]
    for texts in (own, note_texts(entry.section), note_texts(entry.header.sections[0])):
        found = [one for text in texts if isinstance(text, str) for one in sentences(text) if ABOUT_THREADS.search(one)]
        if found:
            return found
    return []


def note_texts(section):
    return [part for lines in section.notes for part in note_parts(lines)]


def note_parts(lines):
    return Comment(lines, []).text


def notes(book, entry):
    """What the header says about the section of the function, and about all its functions."""
    shown = [(entry.section.title or entry.header.name, note_texts(entry.section))]
    if entry.section.title:
        shown.append((entry.header.name, note_texts(entry.header.sections[0])))
    shown = [(title, parts) for title, parts in shown if parts]
    if shown:
        yield ".SH NOTES"
    for title, parts in shown:
        yield f'.SS "{escape(title)}"'
        yield from paragraphs(book, entry, parts)


def see_also(book, entry):
    mentioned = [word for text in all_texts(entry) for word in re.findall(r"\w+", text)]
    neighbours = [one.name for one in entry.header.declarations if one.section is entry.section and one.kind != "type"]
    names = [word for word in dict.fromkeys(mentioned + neighbours) if word in book.pages and word != entry.name]
    others = [f"\\fB{name}\\fP(3)" for name in sorted(names[:12])]
    tool = "\\fBzndb_tool\\fP(1)" if entry.header.name in ("zndb.h", "zndb_ext.h", "frwk_dbrm.h") else "\\fBapptest\\fP(1)"
    yield ",\n".join(others + [tool])


def all_texts(entry):
    comment = entry.comment
    parts = comment.text + comment.result + [part for _, texts in comment.arguments for part in texts]
    for part in parts:
        if isinstance(part, str):
            yield part
        else:
            yield from (text for _, text in part)


def paragraphs(book, entry, parts, separator=".PP"):
    for i, part in enumerate(parts):
        if isinstance(part, str):
            if i > 0:
                yield separator
            yield from lines_of(book, entry, part)
        else:
            yield from rows(book, entry, part)


def rows(book, entry, table):
    for name, text in table:
        yield ".TP" if name else ".IP \\(bu 2"
        if name:
            yield f"\\fB{escape(name)}\\fP"
        yield from lines_of(book, entry, text)


def lines_of(book, entry, text):
    """One line for each sentence, with references to other pages."""
    for sentence in sentences(text):
        if sentence == "Any thread.":
            sentence = "Any thread may call it."
        line = re.sub(r"\w+", lambda word: linked(book, entry, word.group()), escape(sentence))
        yield re.sub(r"\(3\)\(\)", "(3)", line)


def linked(book, entry, word):
    if word == entry.name:
        return f"\\fB{word}\\fP()" if entry.kind == "function" else f"\\fB{word}\\fP"
    return f"\\fB{word}\\fP(3)" if word in book.pages else word


def escape(text):
    text = text.replace("\\", "\\e").replace("-", "\\-").replace("'", "\\(aq").replace("^", "\\(ha").replace("~", "\\(ti")
    return "\\&" + text if text.startswith(".") else text


if __name__ == "__main__":
    main()
