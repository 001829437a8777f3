#!/usr/bin/env python3
"""Counts the cost of the library's hot paths and compares it with the record. Run by script/bench-guard.

  guard.py BUILD [--record]

A path is run a few times, and then many times; the difference is its cost without the start of the program. callgrind
counts instructions, strace counts system calls. The counts don't depend on other load: they are the same each time,
for the queue to within three per cent. The guard runs in a private device tree, in which it plays the other modules.
"""

import os
import platform
import re
import socket
import struct
import subprocess
import sys
import threading

HERE = os.path.dirname(os.path.abspath(__file__))
RECORD = os.path.join(HERE, "..", "guard.txt")
SOCKETS = "/tmp/m_tmp/ipc"
EVENT_FILE = "/m_data/usr/subscribe/guard"
HEADER = struct.Struct("=IiIIIi")
FEW, MANY = 20, 100
MANY_QUEUED = 2000  # many, since the cost of the queue's thread start varies and is divided by this number
SLACK = 1.05
PEERS = ["wlan", "zndb"]
SERVER = "router"
# Sizes of request and answer. valgrind counts a fill byte by byte, so that of a large answer would hide the rest.
SERVED = {"serve": (64, 64), "serve-64k": (65536, 0), "serve-64k-answer": (64, 65536)}
PATHS = ["sync", "sync-64k", "async", "config-get", "publish", *SERVED, "queue", "text-to-number", "number-to-text",
         "names"]
PATIENCE = 120


def read_whole(connection, size):
    parts = []
    while size > 0:
        part = connection.recv(size)
        if not part:
            return None
        parts.append(part)
        size -= len(part)
    return b"".join(parts)


def answer(connection):
    with connection:
        header = read_whole(connection, HEADER.size)
        if header is None:
            return
        _, _, one_way, _, answer_size, length = HEADER.unpack(header)
        if read_whole(connection, max(length, 0)) is not None and not one_way:
            connection.sendall(struct.pack("=ii", 0, answer_size) + bytes(answer_size))


def serve(listener):
    while True:
        answer(listener.accept()[0])


def play_peers():
    """The modules that the paths send to. Their queues hold all messages, so that no sender blocks."""
    os.makedirs(SOCKETS, exist_ok=True)
    for name in PEERS:
        listener = socket.socket(socket.AF_UNIX)
        listener.bind(f"{SOCKETS}/{name}")
        listener.listen(2 * MANY)
        threading.Thread(target=serve, args=[listener], daemon=True).start()
    os.makedirs(os.path.dirname(EVENT_FILE), exist_ok=True)
    with open(EVENT_FILE, "w", encoding="ascii") as file:
        file.write(f"{PEERS[0]}\n")


def request(message, size, answer_size):
    body = bytes(size)
    connection = socket.socket(socket.AF_UNIX)
    connection.connect(f"{SOCKETS}/{SERVER}")
    connection.sendall(HEADER.pack(51, message, 0, 3, answer_size, len(body)) + body)
    return connection


def ask_server(child, sizes, count):
    """Sends requests to a module whose first one waits until all others are queued. The last message ends it."""
    if child.stdout.readline().strip() != b"ready":
        return
    held = [request(5001, 64, 64)] + [request(5001, *sizes) for _ in range(count)] + [request(1, 0, 0)]
    child.stdin.write(b"g")
    child.stdin.flush()
    child.wait(PATIENCE)
    del held


def run(tool, program, path, count):
    if os.path.exists(f"{SOCKETS}/{SERVER}"):
        os.unlink(f"{SOCKETS}/{SERVER}")
    with subprocess.Popen(tool + [program, path, str(count)], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE) as child:
        if path in SERVED:
            ask_server(child, SERVED[path], count)
        _, errors = child.communicate(timeout=PATIENCE)
        if child.returncode != 0:
            sys.exit(f"guard: {path}: ended with {child.returncode}\n{errors.decode()}")
        return errors.decode()


def instructions(program, path, count):
    said = run(["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null"], program, path, count)
    return int(re.search(r"Collected : (\d+)", said).group(1))


def system_calls(program, path, count):
    output = "/tmp/m_tmp/guard.strace"
    run(["strace", "-f", "-c", "-o", output], program, path, count)
    with open(output, encoding="ascii") as file:
        return int(file.read().splitlines()[-1].split()[3])


def each(count, program, path):
    """The cost of one run of a path. The very first run, which creates the device's folders, is not used."""
    many = MANY_QUEUED if path == "queue" else MANY
    count(program, path, FEW)
    return (count(program, path, many) - count(program, path, FEW)) / (many - FEW)


def measure(program):
    play_peers()
    found = {}
    for path in PATHS:
        found[path] = (round(each(instructions, program, path)), abs(round(each(system_calls, program, path), 1)))
        print(f"{path:16} {found[path][0]:8} instructions {found[path][1]:6} system calls", flush=True)
    return found


def toolchain():
    """The toolchain, as far as instruction counts depend on it. A patch release of the compiler changes them little."""
    compiler = subprocess.run(["g++", "-dumpversion"], check=True, capture_output=True, text=True)
    return f"{platform.machine()}, g++ {compiler.stdout.split('.')[0].strip()}, {' '.join(platform.libc_ver())}"


def parse(text):
    rows = [line.split() for line in text.splitlines() if line and not line.startswith("#")]
    return {row[0]: (int(row[1]), float(row[2])) for row in rows}


def recorded_for(text):
    """The toolchain of a record. Older records also contain the compiler's patch release."""
    return re.sub(r"(g\+\+ \d+)[.\d]*", r"\1", re.search(r"^# for (.*)$", text, re.MULTILINE).group(1))


def growth(found, record, compare_instructions=True):
    """The paths in found that cost more than record allows, as {path: text}."""
    grown = {}
    for path, (count, calls) in found.items():
        if path not in record:
            grown[path] = "has no record"
        elif calls > record[path][1]:
            grown[path] = f"{record[path][1]} system calls before, {calls} now"
        elif compare_instructions and count > record[path][0] * SLACK:
            grown[path] = f"{record[path][0]} instructions before, {count} now"
    return grown


def uncounted(found, record):
    """The paths of the record that are no longer counted."""
    return {path: "is in the record and is not counted" for path in record if path not in found}


def check_itself(found):
    """Checks the guard itself: the measured figures must exceed a record that is a bit lower."""
    lower = {path: (count / SLACK - 1, calls) for path, (count, calls) in found.items()}
    fewer_calls = {path: (count, calls - 0.1) for path, (count, calls) in found.items()}
    near = {path: (count / SLACK + 1, calls) for path, (count, calls) in found.items()}
    everything = set(found)
    if set(growth(found, lower)) != everything or set(growth(found, fewer_calls)) != everything:
        sys.exit("guard: growth would not be seen")
    if growth(found, near) or growth(found, found) or set(growth(found, {})) != everything:
        sys.exit("guard: reports growth without any")
    if set(uncounted({}, found)) != everything or uncounted(found, found):
        sys.exit("guard: a path could be dropped")
    patched, old = "# for cpu, g++ 12.9.9, glibc 1\na 1 1\n", "# for cpu, g++ 11.1.0, glibc 1\na 1 1\n"
    if complaints({"a": (1, 1)}, patched, "cpu, g++ 12, glibc 1") or not complaints(
            {"a": (1, 1)}, old, "cpu, g++ 12, glibc 1"):
        sys.exit("guard: another toolchain would not be seen")


def write_record(found):
    with open(RECORD, "w", encoding="ascii") as file:
        file.write("# What the hot paths take each: instructions, system calls. Written by script/bench-guard --record.\n")
        file.write(f"# for {toolchain()}\n")
        for path, (count, calls) in found.items():
            file.write(f"{path:16} {count:8} {calls:6}\n")


def complaints(found, text, here):
    """All problems with the counts, as texts. Each toolchain needs its own record."""
    record, same = parse(text), recorded_for(text) == here
    grown = {**growth(found, record, same), **uncounted(found, record)}
    words = [f"{path}: {grown[path]}" for path in grown]
    if words:
        words.append("if it must be so, run script/bench-guard --record and give the reason in CHANGELOG.md")
    if not same:
        words.append(f"the record is for {recorded_for(text)} and this is {here}, so instructions can't be compared: "
                     "run script/bench-guard --record and commit bench/guard.txt")
    return words


def hold_against_record(found):
    with open(RECORD, encoding="ascii") as file:
        text = file.read()
    words = complaints(found, text, toolchain())
    if words:
        sys.exit("\n".join(f"guard: {line}" for line in words))


def main():
    found = measure(os.path.join(sys.argv[1], "bin", "hot-paths"))
    check_itself(found)
    if sys.argv[2:] == ["--record"]:
        write_record(found)
    else:
        hold_against_record(found)


if __name__ == "__main__":
    main()
