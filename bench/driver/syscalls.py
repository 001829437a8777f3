"""Counts the system calls of a round trip, on both sides.

The kernel counts them for perf, which disturbs nothing. Where perf may not ask it, as for most ordinary users, strace
stops both sides at each call; nothing is timed meanwhile. Either counts whole processes, start and all, so a short
run is taken from a long one.
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
    """Who counts here."""
    return "perf" if perf_may_count() else "strace"


def counting(file):
    """The words before a command that write what it called into a file once it has ended."""
    if counter() == "perf":
        return ["perf", "stat", "-x,", "-e", "raw_syscalls:sys_enter", "-o", file]
    if shutil.which("strace") is None:
        raise Broken("neither perf nor strace can count system calls here")
    return ["strace", "-f", "-qq", "-c", "-U", "calls,name", "-o", file]


def counted(file):
    """Reads what either of them wrote; waits for it to be written."""
    end = time.monotonic() + RUN_SECONDS
    while time.monotonic() < end:
        with open(file, encoding="ascii") as output:
            found = re.search(r"^(\d+),,raw_syscalls:sys_enter|^ *(\d+) total$", output.read(), re.MULTILINE)
        if found:
            return int(found[1] or found[2])
        time.sleep(0.01)
    raise Broken(f"{file}: no count of system calls")


def count_run(programs, peer, cores, sizes, trips):
    """The calls of a client and of its server in one life of both."""
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
    """Ends what is counted, so that the one who counts says how much it was."""
    with open(f"/proc/{server.process.pid}/task/{server.process.pid}/children", encoding="ascii") as children:
        for pid in children.read().split():
            os.kill(int(pid), signal.SIGKILL)
    server.process.wait(RUN_SECONDS)


def calls_a_round_trip(programs, peer, cores, sizes):
    """sizes: of the request and of its answer."""
    short = count_run(programs, peer, cores, sizes, SHORT)
    long = count_run(programs, peer, cores, sizes, LONG)
    client, server = ((many - few) / (LONG - SHORT) for few, many in zip(short, long))
    return {"client_calls": client, "server_calls": server}
