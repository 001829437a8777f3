"""Reads of one of 1,000 settings beside LMDB and Redis, and how soon a change is told."""

import os

from figures import Figure
from machine import PLACEMENTS, LoadMeter
from processes import FOLDER, Broken, start_peer

READS = {  # the word in the program's output, and the peer
    "view_get_ns": "zndb_view_get", "view_get_missing_ns": "zndb_view_get, missing key",
    "view_serial_ns": "zndb_view_serial", "zndb_get_ns": "zndb_get",
    "lmdb_get_ns": "LMDB, one transaction", "lmdb_renewed_get_ns": "LMDB, a transaction each",
    "redis_get_ns": "Redis, connection kept"}
CHANGES = {"futex_us": "bare futex", "watch_us": "zndb_watch"}


class Settings:
    def __init__(self, run):
        self.run = run
        self.program = run.programs.path("settings-bench")

    def rounds(self, measure, placement, names, metric, command):
        """A run of the program is a round of all its peers."""
        cores = PLACEMENTS[placement]
        meter = LoadMeter(cores, self.run.programs.live_cpu_seconds)
        figures = {word: Figure(measure, "1,000 settings", placement, peer) for word, peer in names.items()}
        for _ in range(self.run.rounds):
            with meter:
                values = self.run.programs.run([self.program, *command], cores)
            for word, value in values.items():
                figures[word].add({metric: value})
        for figure in figures.values():
            if figure.rounds:
                figure.other_load = meter.share()
                self.run.figures.all.append(figure)

    def read(self, placement):
        cores = PLACEMENTS[placement]
        servers = start_peer(self.run.programs, "zndb", cores)
        try:
            servers += start_peer(self.run.programs, "Redis", cores)
            os.environ["QUOR_BENCH_REDIS"] = f"{FOLDER}/redis"
        except Broken as broken:
            self.run.figures.leave_out(f"Redis (settings read, {placement}): {broken}")
        reads = "200000" if not self.run.quick else "20000"
        self.rounds("settings read", placement, READS, "ns", ["read", reads])
        self.run.programs.stop(servers)
        os.environ.pop("QUOR_BENCH_REDIS", None)

    def watch(self, placement):
        changes = "2000" if not self.run.quick else "200"
        self.rounds("settings watch", placement, CHANGES, "median_us", ["watch", changes])

    def all(self):
        for placement in self.run.placements:
            self.watch(placement)
            self.read(placement)
