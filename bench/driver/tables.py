"""The figures as tables of texts: the head of the report, a table for each measurement, and the targets."""

from targets import all_targets

METRICS = {
    "round trip": ["median_us", "p99_us", "client_cpu_us", "server_cpu_us"],
    "system calls": ["client_calls", "server_calls"],
    "configuration": ["median_us", "p99_us", "client_cpu_us", "server_cpu_us"],
    "settings read": ["ns"],
    "settings watch": ["median_us"],
    "body size": ["rate", "median_us", "p99_us"],
    "clients": ["rate", "median_us", "p99_us"],
    "one way": ["rate", "lost", "failed"],
    "fan-out": ["rate", "lost", "failed"],
    "queue rate": ["rate"],
    "queue wake": ["median_us", "p99_us"],
    "in process": ["ns", "allocations"],
    "start-up": ["answered_us", "loaded_us", "served_us"],
    "memory": ["pss_kib", "private_dirty_kib", "worst_private_dirty_kib"],
    "library size": ["text_bytes", "data_bytes", "bss_bytes", "file_bytes"],
}

HEADINGS = {
    "median_us": "median µs", "p99_us": "99th µs",
    "client_cpu_us": "client CPU µs", "server_cpu_us": "server CPU µs",
    "client_calls": "client's calls", "server_calls": "server's calls", "rate": "a second", "lost": "lost",
    "failed": "not sent", "ns": "ns", "allocations": "allocations", "answered_us": "to answer µs",
    "loaded_us": "to main µs", "served_us": "main to serving µs", "pss_kib": "PSS KiB",
    "private_dirty_kib": "private dirty KiB", "worst_private_dirty_kib": "most of one KiB", "text_bytes": "text B",
    "data_bytes": "data B", "bss_bytes": "bss B", "file_bytes": "file B",
}

# The peer that another one is compared with.
BASES = {"queue rate": "mutex and semaphore", "queue wake": "mutex and semaphore",
         "settings read": "zndb_get", "settings watch": "bare futex"}
RATIOS = ("median_us", "p99_us", "rate")

EXPLANATION = (
    "Medians over the rounds. A ratio (×) is the median of the ratios round by round, to the floor, or for queues to "
    "mutex and semaphore. The 99th percentile of many clients is that of the worst. Others: how busy the cores were "
    "meanwhile with work that is not the benchmark's; \"-\" where that was too short to be metered.")


class Table:
    """A title, column headings, and rows of texts. The first columns are words, the others numbers."""

    def __init__(self, title, words, columns, rows):
        self.title, self.words, self.columns, self.rows = title, words, columns, rows


def shown(value):
    if value is None:
        return "-"
    return f"{value:,.0f}" if value >= 1000 or value == int(value) else f"{value:.2f}"


def percent(share):
    return "-" if share is None else f"{100 * share:.0f} %"


def headline(figures):
    machine = figures.machine
    load = ", ".join(f"{value:.2f}" for value in machine["load_average"])
    rounds = max((len(values) for figure in figures.all for values in figure.rounds.values()), default=0)
    quick = " A quick run: too few rounds to be quoted." if figures.quick else ""
    counter = machine.get("calls_counted_by")
    quick += f" System calls were counted by {counter}." if counter else ""
    return (f"{machine['when']}: {machine['cores']} cores of {machine['processor']}, Linux {machine['kernel']}; "
            f"{rounds} rounds, {figures.seconds:.0f} s; load average at the start {load}.{quick}")


def ratio_of(figures, row, metric):
    base = figures.find(row.measure, row.case, row.placement, BASES.get(row.measure, "floor"))
    ratio = row.ratio(metric, base) if base else None
    return "-" if ratio is None else f"{ratio:.2f}"


def measure_table(figures, measure):
    metrics = METRICS[measure]
    ratios = [metric for metric in metrics if metric in RATIOS]
    rows = [[row.case, row.placement, row.peer] + [shown(row.median(metric)) for metric in metrics] +
            [ratio_of(figures, row, metric) for metric in ratios] + [percent(row.other_load)]
            for row in figures.of(measure)]
    columns = ["case", "placed", "peer"] + [HEADINGS[metric] for metric in metrics] + [
        "× " + HEADINGS[metric].split(" µs")[0] for metric in ratios] + ["other load"]
    return Table(measure, 3, columns, rows)


def measure_tables(figures):
    return [measure_table(figures, measure) for measure in METRICS if figures.of(measure)]


def bars_table(figures):
    rows = [[target.verdict(), target.what, target.figure, target.target, percent(target.load)] for target in all_targets(figures)]
    return Table("targets", 4, ["", "what", "figure", "target", "other load"], rows)
