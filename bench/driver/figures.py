"""The figures of a run: the values of each round, and their medians and ratios."""

import statistics
import sys


class Figure:
    """One peer in one case: the values of each round, by metric."""

    def __init__(self, measure, case, placement, peer):
        self.measure = measure
        self.case = case
        self.placement = placement
        self.peer = peer
        self.rounds = {}
        self.other_load = None  # not measured: other load does not affect the figure

    def add(self, values):
        for metric, value in values.items():
            self.rounds.setdefault(metric, []).append(value)

    def median(self, metric):
        values = self.rounds.get(metric)
        return statistics.median(values) if values else None

    def worst(self, metric):
        """The value with the largest magnitude. A loss is negative if messages of one round arrive in the next."""
        return max(self.rounds[metric], key=abs) if self.rounds.get(metric) else None

    def ratio(self, metric, base):
        """The median of the per-round ratios to another peer of the same rounds."""
        own, other = self.rounds.get(metric), base.rounds.get(metric) if base else None
        if not own or not other:
            return None
        return statistics.median(a / b for a, b in zip(own, other) if b)

    def as_json(self):
        return {
            "measure": self.measure, "case": self.case, "placement": self.placement, "peer": self.peer,
            "other_load": None if self.other_load is None else round(self.other_load, 4),
            "medians": {metric: self.median(metric) for metric in self.rounds},
            "rounds": self.rounds,
        }

    @staticmethod
    def from_json(data):
        figure = Figure(data["measure"], data["case"], data["placement"], data["peer"])
        figure.rounds = data["rounds"]
        figure.other_load = data["other_load"]
        return figure


class Figures:
    """All figures of a run."""

    def __init__(self, machine, quick):
        self.machine = machine
        self.quick = quick
        self.seconds = 0.0
        self.all = []
        self.left_out = []  # what could not be measured, as texts

    def leave_out(self, words):
        print(f"left out: {words}", file=sys.stderr)
        self.left_out.append(words)

    def find(self, measure, case, placement, peer):
        for figure in self.all:
            if (figure.measure, figure.case, figure.placement, figure.peer) == (
                    measure, case, placement, peer):
                return figure
        return None

    def of(self, measure):
        return [figure for figure in self.all if figure.measure == measure]

    def as_json(self):
        return {"machine": self.machine, "quick": self.quick, "seconds": round(self.seconds, 1),
                "left_out": self.left_out,
                "figures": [figure.as_json() for figure in self.all]}

    @staticmethod
    def from_json(data):
        figures = Figures(data["machine"], data["quick"])
        figures.seconds = data["seconds"]
        figures.left_out = data["left_out"]
        figures.all = [Figure.from_json(each) for each in data["figures"]]
        return figures
