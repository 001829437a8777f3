#!/bin/bash
# walkthrough.sh PAGE [--write]: does what a page of docs/ asks of its reader, and compares what is printed with what
# the page shows; --write puts what is printed into the page.
#
# A page marks its blocks:
#
#     <!-- file: NAME -->                        the block below is the file NAME
#     <!-- insert: NAME before "TEXT" -->        it goes before the line of NAME that begins with TEXT
#     <!-- replace: NAME "TEXT" -->              it takes the place of TEXT in NAME
#
# and a block of the language "console" is a terminal: lines with "$ " are run by one shell, one after the other,
# the others are what the line above printed. The environment brings PATH, PKG_CONFIG_PATH and LD_LIBRARY_PATH.
set -eu -o pipefail

page=$(readlink -f "$1")
write=${2-}
cd "$(mktemp -d /tmp/walk.XXXXXX)"

PAGE=$page WRITE=$write exec python3 - << 'PYTHON'
import os, re, subprocess, sys

page = os.environ["PAGE"]
lines = open(page, encoding="utf-8").read().split("\n")
shell = subprocess.Popen(["bash", "--norc"], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
shell.stdin.write("exec 2>&1\nset -m\n")


def run(command):
    """Runs a line in the one shell and returns what it printed; a module that it starts is waited for."""
    end = "end of the command"
    shell.stdin.write(f"{command}\necho '{end}'\n")
    shell.stdin.flush()
    printed = []
    for line in shell.stdout:
        if line.rstrip("\n").endswith(end):
            break
        if not re.match(r"\[\d+\]", line):  # the shell's own words about its jobs
            printed.append(line.rstrip("\n"))
    if command.endswith("&"):
        name = os.path.basename(command.split()[0])
        shell.stdin.write(f"until apptest call {name} sys_status --room 4; do sleep 0.05; done > /dev/null 2>&1\n")
    return printed


def change(mark, block):
    kind, name, text = re.match(r'<!-- (file|insert|replace): (\S+)(?: (?:before )?"(.*)")? -->', mark).groups()
    if kind == "file":
        open(name, "w").write(block)
        return
    content = open(name).read()
    assert content.count(text) == 1, f"{name}: {text!r} is there {content.count(text)} times"
    new = block + text if kind == "insert" else block.rstrip("\n")
    open(name, "w").write(content.replace(text, new))


shown, failures, mark, i = [], 0, None, 0
while i < len(lines):
    line = lines[i]
    shown.append(line)
    i += 1
    if line.startswith("<!-- "):
        mark = line
    if not line.startswith("```") or line == "```":
        continue
    end = lines.index("```", i)
    block, i = lines[i:end], end
    if line == "```console":
        expected = []
        for command in [entry[2:] for entry in block if entry.startswith("$ ")]:
            expected += ["$ " + command] + run(command)
        if expected != block:
            failures += 1
            print("\n".join(["the page shows:", *block, "", "what is printed:", *expected, ""]))
        shown += expected
    else:
        if mark:
            change(mark, "\n".join(block) + "\n")
        shown += block
    mark = None

shell.stdin.write("kill $(jobs -p)\n")
shell.stdin.close()
shell.wait()
if os.environ["WRITE"]:
    open(page, "w", encoding="utf-8").write("\n".join(shown))
sys.exit(1 if failures and not os.environ["WRITE"] else 0)
PYTHON
