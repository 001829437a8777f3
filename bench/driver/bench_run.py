"""Runs every benchmark and writes the figures as JSON. Started by script/bench, in a private device tree."""

import argparse
import json
import sys
import time

import machine
from targets import all_targets
from figures import Figures
from footprint import library_size, memory, start_up
from messages import Messages
from processes import Programs
from settings import Settings
from threads import Queues, in_process


class Run:
    """What all measurements share."""

    def __init__(self, options):
        self.quick = options.quick
        self.rounds = 7 if not options.quick else 3
        self.cell_seconds = 0.2 if not options.quick else 0.03
        self.placements = list(machine.PLACEMENTS)
        self.build = options.build
        self.arm_build = options.arm_build
        self.programs = Programs(options.build)
        self.figures = Figures(machine.describe(), options.quick)


MEASURES = {
    "round-trips": lambda run: Messages(run).round_trips(),
    "system-calls": lambda run: Messages(run).system_calls(),
    "one-way": lambda run: Messages(run).one_way(),
    "fan-out": lambda run: Messages(run).fan_out(),
    "configuration": lambda run: Messages(run).configuration(),
    "settings": lambda run: Settings(run).all(),
    "clients": lambda run: Messages(run).many_clients(),
    "sizes": lambda run: Messages(run).curve(),
    "queues": lambda run: Queues(run).all(),
    "in-process": in_process,
    "start-up": start_up,
    "memory": memory,
    "libraries": library_size,
}


def results(figures):
    """The content of the file: the figures, one per line, and the verdict on each target."""
    targets = [{"verdict": target.verdict(), "what": target.what, "figure": target.figure, "target": target.target, "other_load": target.load}
            for target in all_targets(figures)]
    parts = {**figures.as_json(), "targets": targets}
    return "{\n" + ",\n".join(f"{json.dumps(name)}: {lines(part)}" for name, part in parts.items()) + "\n}\n"


def lines(part):
    """JSON in which each object of a list has its own line."""
    if isinstance(part, list) and part:
        return "[\n" + ",\n".join(json.dumps(each, ensure_ascii=False) for each in part) + "\n]"
    return json.dumps(part, ensure_ascii=False)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", required=True, help="build folder")
    parser.add_argument("--arm-build", help="build folder for 32-bit ARM")
    parser.add_argument("--json", required=True, help="file to write the figures to")
    parser.add_argument("--quick", action="store_true", help="a short run, to see that everything works")
    parser.add_argument("--only", action="append", choices=list(MEASURES), metavar="MEASURE",
                        help="of " + ", ".join(MEASURES) + "; may be given again; all when not given")
    options = parser.parse_args()

    run = Run(options)
    begin = time.monotonic()
    for name, measure in MEASURES.items():
        if options.only and name not in options.only:
            continue
        print(f"measuring {name} ({time.monotonic() - begin:.0f} s so far)", file=sys.stderr)
        try:
            measure(run)
        finally:
            run.programs.stop(list(run.programs.servers))
    run.figures.seconds = time.monotonic() - begin
    with open(options.json, "w", encoding="utf-8") as file:
        file.write(results(run.figures))


if __name__ == "__main__":
    main()
