"""Counts the system calls of a round trip, on both sides.

perf lets the kernel count them, which disturbs nothing. Most ordinary users may not use perf; then strace counts them.
It stops both sides at each call, so nothing is timed meanwhile. Both tools count complete processes with their start,
so the count of a short run is subtracted from that of a long one.
"""

import os
import re
import shutil
import signal
import subprocess
import time

from processes import FOLDER, RUN_SECONDS, Broken, start_peer

SHORT, LONG = 200, 1200


def perf_may_count():
    if shutil.which("perf") is None:
        return False
    counted = subprocess.run(["perf", "stat", "-x,", "-e", "raw_syscalls:sys_enter", "true"],
                             capture_output=True, text=True, check=False)
    return counted.returncode == 0 and counted.stderr.split(",")[0].isdigit()


def counter():
    """The tool that counts on this machine."""
    return "perf" if perf_may_count() else "strace"


def counting(file):
    """The prefix of a command that makes the tool write the counts to a file when the command ends."""
    if counter() == "perf":
        return ["perf", "stat", "-x,", "-e", "raw_syscalls:sys_enter", "-o", file]
    if shutil.which("strace") is None:
        raise Broken("neither perf nor strace can count system calls here")
    return ["strace", "-f", "-qq", "-c", "-U", "calls,name", "-o", file]


def counted(file):
    """Waits for the file of either tool, and reads it."""
    end = time.monotonic() + RUN_SECONDS
    while time.monotonic() < end:
        with open(file, encoding="ascii") as output:
            found = re.search(r"^(\d+),,raw_syscalls:sys_enter|^ *(\d+) total$", output.read(), re.MULTILINE)
        if found:
            return int(found[1] or found[2])
        time.sleep(0.01)
    raise Broken(f"{file}: no count of system calls")


def count_run(programs, peer, cores, sizes, trips):
    """The calls of a client and its server from their start to their end."""
    files = [f"{FOLDER}/calls.{side}" for side in ("client", "server")]
    for file in files:
        with open(file, "w", encoding="ascii"):
            pass
    servers = start_peer(programs, peer, cores, counted=counting(files[1]))
    command = [programs.path("message-bench"), "ask", peer, "--count", str(trips),
               "--request", str(sizes[0]), "--answer", str(sizes[1])]
    programs.run(counting(files[0]) + command, cores, stdin="\n\n")
    for server in servers:
        end_child(server)
    programs.stop(servers)
    return [counted(file) for file in files]


def end_child(server):
    """Ends the counted process, so that the tool writes its counts."""
    with open(f"/proc/{server.process.pid}/task/{server.process.pid}/children", encoding="ascii") as children:
        for pid in children.read().split():
            os.kill(int(pid), signal.SIGKILL)
    server.process.wait(RUN_SECONDS)


def calls_a_round_trip(programs, peer, cores, sizes):
    """sizes: bytes of the request and of the answer."""
    short = count_run(programs, peer, cores, sizes, SHORT)
    long = count_run(programs, peer, cores, sizes, LONG)
    client, server = ((many - few) / (LONG - SHORT) for few, many in zip(short, long))
    return {"client_calls": client, "server_calls": server}
