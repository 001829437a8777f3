"""Queues between threads, and calls inside one process."""

import json
import os
import subprocess

from targets import QUEUE_PEERS
from figures import Figure
from machine import ONE_CORE, LoadMeter
from processes import RUN_SECONDS, Broken
from rounds import Comparison

MESSAGES = "1000000"


class Queues:
    def __init__(self, run):
        self.run = run
        self.program = run.programs.path("queue-bench")
        names = subprocess.run([self.program, "list"], check=True, capture_output=True, text=True).stdout
        self.names = names.splitlines()

    def compare(self, measure, case, placement, *arguments):
        comparison = Comparison(self.run, measure, case, placement)
        for name in self.names:
            command = [self.program, measure.split()[1], name, *arguments]
            comparison.add(name, lambda _: [],
                          lambda _, cores, command=command: self.run.programs.run(command, cores))
        comparison.repeat(self.run.rounds)

    def all(self):
        for peer in QUEUE_PEERS:
            if peer not in self.names:
                self.run.figures.leave_out(f"{peer}, whose library is not installed")
        for placement in self.run.placements:
            for senders, words in (("1", "one sender"), ("4", "four senders")):
                self.compare("queue rate", words, placement, senders, MESSAGES)
            self.compare("queue wake", "asleep", placement, "1000" if not self.run.quick else "100")


def in_process(run):
    """Conversions and names. A run of the program is a round of all its cases."""
    program = run.programs.path("inprocess-bench")
    if not os.path.exists(program):
        run.figures.leave_out("conversions and names, as Google Benchmark is not installed")
        return
    figures = {}
    meter = LoadMeter(ONE_CORE, run.programs.live_cpu_seconds)
    for _ in range(run.rounds):
        with meter:
            measured = google_benchmark(run, program)
        for each in measured:
            figure = figures.setdefault(each["name"], Figure("in process", each["name"], "one core", "quorapps"))
            figure.add({"ns": each["cpu_time"], "allocations": each["allocations"]})
    for figure in figures.values():
        figure.other_load = meter.share()
        run.figures.all.append(figure)


def google_benchmark(run, program):
    seconds = 0.02 if not run.quick else 0.005
    command = [program, "--benchmark_format=json", f"--benchmark_min_time={seconds}"]
    child = run.programs.popen(command, ONE_CORE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    out, _ = child.communicate(timeout=RUN_SECONDS)
    if child.returncode != 0:
        raise Broken(f"{os.path.basename(program)}: ended with {child.returncode}")
    return json.loads(out)["benchmarks"]
