"""The processes that a benchmark starts: servers, buses, and programs that print one line of JSON."""

import json
import os
import select
import shutil
import signal
import subprocess
import time

import machine

FOLDER = "/tmp/m_tmp/bench"
READY_SECONDS = 10
RUN_SECONDS = 30  # longer than any run

BUS_CONFIG = """<busconfig>
  <type>session</type>
  <listen>unix:path={path}</listen>
  <policy context="default">
    <allow user="*"/><allow own="*"/><allow send_destination="*"/><allow receive_sender="*"/>
  </policy>
  <limit name="max_message_size">1000000000</limit>
  <limit name="max_incoming_bytes">1000000000</limit>
  <limit name="max_outgoing_bytes">1000000000</limit>
</busconfig>
"""


class Broken(Exception):
    """A process failed or did not answer in time."""


def words(command):
    """A command line for a message, without the folders of this machine."""
    return " ".join(os.path.basename(word) for word in command)


class Programs:
    """Starts the programs of a build folder, and keeps track of those that run."""

    def __init__(self, build):
        self.bin = os.path.join(build, "bin")
        self.servers = []
        self.adopted = 0.0  # processor time of ended processes that are not our children
        os.makedirs(FOLDER, exist_ok=True)

    def path(self, program):
        return os.path.join(self.bin, program)

    def live_cpu_seconds(self):
        live = sum(machine.pid_cpu_seconds(pid) for server in self.servers for pid in server.pids)
        return live + self.adopted

    def popen(self, command, cores, **options):
        return subprocess.Popen(command, preexec_fn=lambda: os.sched_setaffinity(0, cores), **options)

    def run(self, command, cores, stdin=None):
        """Runs a program to its end and returns the object that it printed last."""
        child = self.popen(command, cores, stdout=subprocess.PIPE, text=True,
                           stdin=subprocess.PIPE if stdin else subprocess.DEVNULL)
        try:
            out, _ = child.communicate(stdin, timeout=RUN_SECONDS)
        except subprocess.TimeoutExpired:
            child.kill()
            child.communicate()
            raise Broken(f"{words(command)}: not done in {RUN_SECONDS} s") from None
        if child.returncode != 0:
            raise Broken(f"{words(command)}: ended with {child.returncode}")
        return json.loads(out.splitlines()[-1])

    def start(self, command, cores, ready=None, socket=None, quiet=False):
        """Starts a server and waits until it prints a line that begins with ready, or its socket exists."""
        if socket and os.path.exists(socket):
            os.unlink(socket)
        out = subprocess.PIPE if ready else subprocess.DEVNULL
        server = Server(self, self.popen(command, cores, stdout=out, text=True,
                                         stderr=subprocess.DEVNULL if quiet else None))
        self.servers.append(server)
        if ready:
            server.wait_for_line(ready)
        if socket:
            server.wait_for_socket(socket)
        return server

    def stop(self, servers):
        for server in reversed(servers):
            if server in self.servers:
                server.stop()


class Server:
    """A server process; some peers also need a helper process."""

    def __init__(self, programs, process):
        self.programs = programs
        self.process = process
        self.pids = [process.pid]

    def wait_for_line(self, wanted):
        if not select.select([self.process.stdout], [], [], READY_SECONDS)[0]:
            raise Broken(f"{words(self.process.args)}: never said '{wanted}'")
        line = self.process.stdout.readline().split()
        if not line or line[0] != wanted:
            raise Broken(f"{words(self.process.args)}: said {line} instead of '{wanted}'")
        self.pids += [int(word) for word in line[1:]]

    def wait_for_socket(self, path):
        end = time.monotonic() + READY_SECONDS
        while not os.path.exists(path):
            if time.monotonic() > end or self.process.poll() is not None:
                raise Broken(f"{words(self.process.args)}: has no socket {path}")
            time.sleep(0.01)

    def cpu_seconds(self):
        return sum(machine.pid_cpu_seconds(pid) for pid in self.pids)

    def stop(self):
        self.programs.adopted += sum(machine.pid_cpu_seconds(pid) for pid in self.pids[1:])
        self.process.send_signal(signal.SIGKILL)
        self.process.wait()
        if self.process.stdout:
            self.process.stdout.close()
        self.programs.servers.remove(self)


def serving_name(peer):
    """The server of a peer: the same for one connection and for many, and for get and set."""
    return "zndb" if peer.startswith("zndb") else peer.split(", connection")[0]


def start_peer(programs, peer, cores, one_way=False, index=0, counters=None, counted=()):
    """Starts the servers of a peer and returns them, or raises Broken.

    counted: words to put before the command of one of our own servers.
    """
    name = serving_name(peer)
    if name == "zndb":
        return [programs.start([programs.path("zndb")], cores, socket="/tmp/m_tmp/ipc/zndb")]
    if name == "Redis":
        return [start_redis(programs, cores)]

    servers = []
    if name.startswith("sd-bus"):
        servers.append(start_bus(programs, name.split("dbus-")[1], cores))
    command = [*counted, programs.path("message-bench"), "serve", name, "--index", str(index)]
    command += ["--one-way"] if one_way else []
    command += ["--counters", counters] if counters else []
    servers.append(programs.start(command, cores, ready="ready", quiet=bool(counted)))
    return servers


def start_redis(programs, cores):
    program = shutil.which("redis-server")
    if program is None:
        raise Broken("redis-server is not installed")
    socket = f"{FOLDER}/redis"
    return programs.start(
        [program, "--port", "0", "--unixsocket", socket, "--save", "", "--appendonly", "no", "--dir", FOLDER],
        cores, socket=socket)


def start_bus(programs, kind, cores):
    path = f"{FOLDER}/{kind}"
    if kind == "broker":
        if shutil.which("dbus-broker") is None:
            raise Broken("dbus-broker is not installed")
        return programs.start([programs.path("private-broker"), path], cores, ready="ready")
    program = shutil.which("dbus-daemon")
    if program is None:
        raise Broken("dbus-daemon is not installed")
    config = f"{path}.conf"
    with open(config, "w", encoding="ascii") as file:
        file.write(BUS_CONFIG.format(path=path))
    # It warns that it can't raise the limit of descriptors, and then works.
    return programs.start([program, f"--config-file={config}", "--nofork", "--nopidfile"], cores, socket=path,
                          quiet=True)
