"""Runs the peers in turn, round by round, so that a disturbance affects all of them."""

from figures import Figure
from machine import LoadMeter, PLACEMENTS
from processes import Broken


class Comparison:
    """One case in one placement. A peer that can't be started, or fails, is left out with a message."""

    def __init__(self, run, measure, case, placement):
        self.run = run
        self.measure, self.case, self.placement = measure, case, placement
        self.cores = PLACEMENTS[placement]
        self.entries = []
        self.shared = {}

    def add(self, peer, start, once, server=None):
        """start(cores) returns the servers; once(servers, cores) returns the values of one round.

        Peers that name the same server share it: the first of them starts it.
        """
        try:
            servers = self.shared[server] if server in self.shared else start(self.cores)
            if server is not None:
                self.shared[server] = servers
        except Broken as broken:
            self._leave_out(peer, broken)
            return
        figure = Figure(self.measure, self.case, self.placement, peer)
        meter = LoadMeter(self.cores, self.run.programs.live_cpu_seconds)
        self.entries.append((figure, meter, servers, once))

    def repeat(self, rounds):
        entries = list(self.entries)
        for number in range(rounds):
            shift = number % max(1, len(entries))
            for entry in entries[shift:] + entries[:shift]:
                self._once(entry)
        for figure, meter, servers, _ in entries:
            self.run.programs.stop(servers)
            figure.other_load = meter.share()
            if figure.rounds:
                self.run.figures.all.append(figure)

    def _once(self, entry):
        figure, meter, servers, once = entry
        if entry not in self.entries:
            return
        try:
            with meter:
                values = once(servers, self.cores)
            figure.add(values)
        except Broken as broken:
            self._leave_out(figure.peer, broken)
            figure.rounds.clear()
            self.entries.remove(entry)

    def _leave_out(self, peer, broken):
        self.run.figures.leave_out(f"{peer} ({self.measure}, {self.case}, {self.placement}): {broken}")
