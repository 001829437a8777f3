"""Reads the public headers: what they declare, and what their comments say about it.

A comment directly above a declaration belongs to it. Its paragraphs contain text, "name: " for arguments, "Returns " for
the result, and tables of indented rows. "/* ---- Title ---- */" begins a section; a comment that is followed by an empty
line describes the section, or the header if there is no section yet.
"""
import re


class Comment:
    """A comment in parts: text, arguments, results; each a list of paragraphs, which are texts or tables of rows."""

    def __init__(self, lines, parameters):
        self.text, self.arguments, self.result = [], [], []
        self.first = ""  # the first of the texts, whatever its kind
        for paragraph in split_paragraphs(lines):
            self._add(paragraph, parameters)

    def _add(self, paragraph, parameters):
        words, rows = paragraph
        target = self.text
        for kind, names, text in split_words(words, parameters):
            self.first = self.first or text
            if kind == "argument":
                self.arguments.append((names, [text]))
                target = self.arguments[-1][1]
            elif kind == "result":
                target = self.result
                target.append(text)
            else:
                target.append(text)
        if rows:
            target.append(rows)


class Declaration:
    """A function, an object or a type of a header."""

    def __init__(self, header, section, code, comment_lines, first, last):
        self.header, self.section, self.code = header, section, code
        self.first, self.last = first, last  # the lines of the comment
        self.kind, self.name, self.parameters = describe(code)
        self.comment = Comment(comment_lines, self.parameters)


class Section:
    def __init__(self, title):
        self.title, self.notes = title, []


class Header:
    def __init__(self, path):
        self.name = path.rsplit("/", 1)[-1]
        self.lines = open(path, encoding="utf-8").read().split("\n")
        self.sections = [Section("")]
        self.declarations = []
        self.notes = []  # the lines of comments that belong to no declaration: (section, first, last)
        self._read()

    @property
    def about(self):
        """The comment at the top, and what else the header says before its first section."""
        return self.sections[0].notes

    def _read(self):
        i = 0
        while i < len(self.lines):
            line = self.lines[i]
            first, comment, last = i, [], i
            title = re.match(r"/\* -{3,} (.*?) -+ \*/$", line)
            if title:
                self.sections.append(Section(title.group(1)))
                i += 1
                continue
            if line.startswith("/*"):
                last = next(n for n in range(i, len(self.lines)) if self.lines[n].rstrip().endswith("*/"))
                comment = comment_text(self.lines[i:last + 1])
                i = last + 1
                if not self.lines[i].strip() or self.lines[i].startswith(("/*", "#ifndef")):
                    self.sections[-1].notes.append(comment)
                    self.notes.append((self.sections[-1], first, last))
                    continue
            if not self.lines[i] or self.lines[i].startswith(("#", "}", 'extern "C"')):
                while self.lines[i].endswith("\\"):
                    i += 1
                i += 1
                continue
            end = statement_end(self.lines, i)
            code = "\n".join(self.lines[i:end + 1])
            self.declarations.append(Declaration(self, self.sections[-1], code, comment, first, last))
            i = end + 1


def comment_text(lines):
    """The lines of a comment without its marks."""
    if len(lines) == 1:
        return [lines[0][2:-2].strip()]
    return [re.sub(r"^ \*? ?", "", line) for line in lines[1:-1]]


def statement_end(lines, i):
    depth = 0
    while True:
        code = re.sub(r"/\*.*?\*/", "", lines[i]).strip()
        depth += code.count("{") - code.count("}")
        if depth == 0 and code.endswith(";"):
            return i
        i += 1


def describe(code):
    """Returns the kind of a declaration, its name, and the names of its parameters."""
    flat = " ".join(re.sub(r"/\*.*?\*/", "", code, flags=re.S).split())
    if flat.startswith("extern"):
        return "object", re.search(r"(\w+)(?:\[[^]]*\])?;", flat).group(1), []
    if flat.startswith(("typedef", "struct", "enum")):
        pointer = re.search(r"\(\*(\w+)\)", flat)
        plain = re.search(r"(\w+);$", flat)
        return "type", (pointer or plain).group(1) if pointer or plain else "", []
    name = re.search(r"(\w+)\(", flat).group(1)
    return "function", name, parameter_names(flat[flat.index(name) + len(name):])


def parameter_names(code):
    inside, depth, words = code[1:code.rindex(")")], 0, [""]
    for character in inside:
        depth += (character == "(") - (character == ")")
        if depth < 0:
            break  # an attribute follows
        if character == "," and depth == 0:
            words.append("")
        else:
            words[-1] += character
    names = [re.search(r"\(\*(\w+)\)", word) or re.search(r"(\w+)(?:\[\w*\])?$", word.strip()) for word in words]
    return [name.group(1) for name in names if name and name.group(1) != "void"]


def split_paragraphs(lines):
    """Returns (words, rows) for each paragraph. A row is (name, text) of an indented table."""
    paragraphs, words, rows = [], [], []
    for line in lines + [""]:
        row = re.match(r" +(\w+) {2,}(\S.*)", line)
        if row:
            rows.append((row.group(1), row.group(2)))
        elif rows and re.match(r" {8,}\S", line):
            rows[-1] = (rows[-1][0], rows[-1][1] + " " + line.strip())
        elif line.startswith("- "):
            rows.append(("", line[2:]))
        elif rows and line.startswith("  "):
            rows[-1] = (rows[-1][0], rows[-1][1] + " " + line.strip())
        elif line.strip():
            words.append(line.strip())
        elif words or rows:
            paragraphs.append((" ".join(words), rows))
            words, rows = [], []
    return paragraphs


def split_words(words, parameters):
    """Splits a paragraph where a sentence begins with "name: " of an argument or with "Returns "."""
    any_name = "|".join(map(re.escape, parameters)) or "(?!)"
    mark = re.compile(rf"(?:^|(?<=[.;] ))(?:((?:{any_name})(?:, (?:{any_name}))*): |(?=Returns ))")
    kind, names, start = "text", [], 0
    for match in mark.finditer(words):
        if words[start:match.start()].strip():
            yield kind, names, words[start:match.start()].strip()
        names = match.group(1).split(", ") if match.group(1) else []
        kind, start = ("argument" if names else "result"), match.end()
    if words[start:].strip():
        yield kind, names, words[start:].strip()


def sentences(text):
    return re.split(r"(?<=[.])(?<!e\.g\.)\s+(?=\S)", text)


def read_headers(paths):
    return [Header(path) for path in sorted(paths)]
