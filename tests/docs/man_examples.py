#!/usr/bin/env python3
"""man_examples.py PAGE: types the examples of a tool's man page, in the device tree in which it is started.

Each line between .EX and .EE is a command that must end with 0. In a block with lines that begin with "$ ", only these
are commands; the others are what the command above prints, where "..." stands for any lines. A command that runs until
Ctrl-C is left running until the end, and then interrupted.
"""
import os
import re
import signal
import subprocess
import sys
import time

PATIENCE = 50
SETTINGS = "lan_ip=192.168.0.1\nmtu=1500\n"
LOG = "Nov  5 07:02:09 router wlan[17]: warning wlan.c main:1 ipc connect to module [sms] failed!\n"
ENDLESS = re.compile(
    r"^apptest (subscribe|serve)\b|^logtool .*(--follow|-\w*f\b)|^zndb_tool watch\b"
    r"|^(QUOR_\S+ )?zndb$|^device-tree .*zndb$"
)

# The modules that run before a page's examples are typed; a page that plays one needs it absent.
MODULES = {"apptest": ["monitor", "router"], "device-tree": [], "zndb": []}
ALL_MODULES = ["monitor", "router", "wlan", "voice"]


def main():
    page = sys.argv[1]
    tool = os.path.basename(page).rsplit(".", 1)[0]
    prepare(tool)
    world = [] if tool == "zndb" else [started("zndb", "zndb")]
    world += [started(f"apptest serve {name}", name) for name in MODULES.get(tool, ALL_MODULES)]
    faults = type_all(commands(open(page, encoding="utf-8").read()))
    for process in world:
        process.kill()
    print("\n".join(faults))
    sys.exit(1 if faults else 0)


def prepare(tool):
    for folder in ("/m_data/usr/db", "/m_data/usr/subscribe", "/var/log", f"/tmp/{tool}"):
        os.makedirs(folder, exist_ok=True)
    os.chdir(f"/tmp/{tool}")
    for path, text in (("/m_data/usr/db/user_data.txt", SETTINGS), ("/var/log/messages", LOG), ("key.txt", "secret\n")):
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)


def commands(page):
    """Returns (command, what it prints or None) for each example."""
    examples = page.split("\n.SH EXAMPLES\n", 1)[1].split("\n.SH ", 1)[0]
    found = []
    for block in re.findall(r"^\.EX\n(.*?)\n\.EE$", examples, re.M | re.S):
        lines = [plain(line) for line in block.split("\n")]
        if not any(line.startswith("$ ") for line in lines):
            found += [(line, None) for line in lines]
            continue
        for line in lines:
            if line.startswith("$ "):
                found.append((line[2:], []))
            else:
                found[-1][1].append(line)
    assert found, "the page has no example"
    return found


def plain(line):
    for mark, character in ((r"\-", "-"), (r"\(aq", "'"), (r"\(dq", '"'), (r"\(ha", "^"), (r"\&", ""), (r"\e", "\\")):
        line = line.replace(mark, character)
    return line


def type_all(examples):
    faults, running = [], []
    for command, expected in examples:
        if ENDLESS.search(command):
            running.append((command, started(command, socket_of(command))))
        else:
            faults += type_one(command, expected)
    for command, process in running:
        if process.poll() is not None:
            faults.append(f"$ {command}\nended early, with {process.returncode}:\n{process.stdout.read()}")
            continue
        process.send_signal(signal.SIGINT)
        if process.wait(PATIENCE) not in (0, 130, -signal.SIGINT):
            faults.append(f"$ {command}\ninterrupted, it ended with {process.returncode}:\n{process.stdout.read()}")
    return faults


def type_one(command, expected):
    end = subprocess.run(["bash", "-c", command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                         stdin=subprocess.DEVNULL, timeout=PATIENCE)
    if end.returncode != 0:
        return [f"$ {command}\nended with {end.returncode}:\n{end.stdout}"]
    if expected is not None and not re.fullmatch(pattern(expected), end.stdout):
        return ["\n".join([f"$ {command}", *expected, "is what the page shows, this is printed:", end.stdout])]
    return []


def pattern(expected):
    return "".join(r"(?:.*\n)*" if line == "..." else re.escape(line) + r"\n" for line in expected)


def socket_of(command):
    if command.startswith("device-tree "):
        return None  # it listens in a tree of its own
    played = re.search(r"^apptest serve (\w+)", command)
    return played.group(1) if played else "zndb" if "zndb" in command else None


def started(command, module):
    """Starts a command that runs until it is ended, and waits until the module that it is listens."""
    variables = re.match(r"(?:\w+=\S+ )*", command).group()
    process = subprocess.Popen(["bash", "-c", f"{variables}exec {command[len(variables):]}"],
                               stdout=subprocess.PIPE, stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL, text=True)
    end = time.monotonic() + PATIENCE
    while module and not os.path.exists(f"/tmp/m_tmp/ipc/{module}") and process.poll() is None:
        assert time.monotonic() < end, f"{command} does not listen"
        time.sleep(0.02)
    return process


if __name__ == "__main__":
    main()
