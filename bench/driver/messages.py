"""Messages between processes: round trips, bursts, events, many clients, the configuration database."""

import subprocess

from processes import FOLDER, serving_name, start_peer
from rounds import Comparison
from syscalls import calls_a_round_trip, counter

SIZES = [(16, 64), (1000, 1000), (65536, 65536)]
CURVE = [16, 64, 256, 1024, 4096, 16384, 65536, 262144, 1 << 20, 4 << 20, 16 << 20]
CLIENTS = [1, 2, 4, 8, 16, 32, 52]
SUBSCRIBERS = 16
BURST = 100000
PEERS = ["sd-bus", "Redis", "ZeroMQ", "nng"]
WIRE = ["floor", "naive", "quorapps"]


def is_database(peer):
    return peer.startswith("zndb")


def case_name(request, answer):
    return f"{request} to {answer} B"


class Messages:
    def __init__(self, run):
        self.run = run
        self.program = run.programs.path("message-bench")
        names = subprocess.run([self.program, "list"], check=True, capture_output=True, text=True).stdout
        self.peers = names.splitlines()

    def serve(self, peer, **options):
        return lambda cores: start_peer(self.run.programs, peer, cores, **options)

    def ask(self, peer, request, answer, clients=1):
        command = [self.program, "ask", peer, "--request", str(request), "--answer", str(answer),
                   "--seconds", str(self.run.cell_seconds), "--clients", str(clients)]

        def once(servers, cores):
            before = sum(server.cpu_seconds() for server in servers)
            values = self.run.programs.run(command, cores)
            used = sum(server.cpu_seconds() for server in servers) - before
            values["server_cpu_us"] = used / values.pop("asked") * 1e6
            return values
        return once

    def compare(self, measure, case, placement, entries):
        comparison = Comparison(self.run, measure, case, placement)
        for peer, start, once in entries:
            comparison.add(peer, start, once, server=serving_name(peer))
        comparison.repeat(self.run.rounds)

    def round_trips(self):
        for peer in PEERS:
            if not any(name.startswith(peer) for name in self.peers):
                self.run.figures.leave_out(f"{peer}, whose library is not installed")
        peers = [name for name in self.peers if not is_database(name)]
        for request, answer in SIZES:
            for placement in self.run.placements:
                self.compare("round trip", case_name(request, answer), placement,
                          [(name, self.serve(name), self.ask(name, request, answer)) for name in peers])

    def curve(self):
        for size in CURVE if not self.run.quick else CURVE[::5]:
            for placement in self.run.placements:
                self.compare("body size", str(size), placement,
                          [(name, self.serve(name), self.ask(name, size, size)) for name in WIRE])

    def many_clients(self):
        names = WIRE + [name for name in self.peers if name.startswith("Redis, ")]
        for clients in CLIENTS if not self.run.quick else CLIENTS[::3]:
            for placement in self.run.placements:
                self.compare("clients", str(clients), placement,
                          [(name, self.serve(name), self.ask(name, 16, 64, clients)) for name in names])

    def configuration(self):
        names = ["floor"] + [name for name in self.peers if is_database(name) or "Redis" in name]
        for placement in self.run.placements:
            self.compare("configuration", case_name(16, 64), placement,
                      [(name, self.serve(name), self.ask(name, 16, 64)) for name in names])

    def send(self, peer, count, servers=1, publish=False):
        counters = self.counters(peer, publish)
        command = [self.program, "send", peer, "--size", "64", "--count", str(count),
                   "--servers", str(servers), "--counters", counters] + (["--publish"] if publish else [])
        return lambda _, cores: self.run.programs.run(command, cores)

    def counters(self, peer, publish=False):
        return f"{FOLDER}/counters.{peer.replace(' ', '_')}{'.publish' if publish else ''}"

    def one_way(self):
        silent = ("Redis", "zndb")
        peers = [name for name in self.peers
                       if not name.startswith(silent) and "connection a message" not in name]
        for placement in self.run.placements:
            self.compare("one way", f"burst of {BURST}", placement, [
                (name, self.serve(name, one_way=True, counters=self.counters(name)), self.send(name, BURST))
                for name in peers])

    def subscribers(self, peer, publish=False):
        def start(cores):
            servers = []
            for index in range(SUBSCRIBERS):
                servers += start_peer(self.run.programs, peer, cores, one_way=True, index=index,
                                            counters=self.counters(peer, publish))
            return servers
        return start

    def fan_out(self):
        """The library publishes an event; the other peers send to each subscriber in turn."""
        events = 2000 if not self.run.quick else 200
        in_turn = [name for name in self.peers if name in ("floor", "naive", "ZeroMQ", "nng")]
        for placement in self.run.placements:
            entries = [(name, self.subscribers(name), self.send(name, events, SUBSCRIBERS)) for name in in_turn]
            entries.append(("quorapps", self.subscribers("quorapps", True),
                            self.send("quorapps", events, SUBSCRIBERS, publish=True)))
            self.compare("fan-out", f"{SUBSCRIBERS} subscribers", placement, entries)

    def system_calls(self):
        """The hand-written peers and the library, on one core."""
        self.run.figures.machine["calls_counted_by"] = counter()
        for sizes in SIZES:
            self.compare("system calls", case_name(*sizes), "one core",
                      [(name, lambda _: [], self.count_calls(name, sizes)) for name in WIRE])

    def count_calls(self, peer, sizes):
        return lambda _, cores: calls_a_round_trip(self.run.programs, peer, cores, sizes)
