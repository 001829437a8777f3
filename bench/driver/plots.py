"""The plots of the report. A plot is drawn if its figures were measured."""

from svg import bar_chart, line_chart

ONE_CORE = "one core"


def unique(values):
    return list(dict.fromkeys(values))


def bars_of(figures, measure, title, axis, value, by_case=True, doubling=False, mark=None):
    """A group for each peer, with a bar for each case (by_case) or for each placement."""
    rows = [row for row in figures.of(measure) if row.placement == ONE_CORE or not by_case]
    values = {(row.peer, row.case if by_case else row.placement): value(row) for row in rows}
    values = {place: number for place, number in values.items() if number is not None}
    if not values:
        return None
    return bar_chart(title, axis, unique(group for group, _ in values), unique(name for _, name in values), values,
                     doubling, mark)


def to_floor(figures, metric):
    def ratio(row):
        base = figures.find(row.measure, row.case, row.placement, "floor")
        return row.ratio(metric, base) if base else None
    return ratio


def lines_of(figures, measure, value):
    rows = [row for row in figures.of(measure) if row.placement == ONE_CORE and value(row) is not None]
    lines = {name: [(int(row.case), value(row)) for row in rows if row.peer == name]
             for name in unique(row.peer for row in rows)}
    return lines


def sizes(figures):
    lines = lines_of(figures, "body size", to_floor(figures, "rate"))
    return line_chart("Throughput by body size, there and back, one core", "bytes", "× the floor (line: 0.9)",
                      lines, 0.9) if lines else None


def clients(figures):
    lines = lines_of(figures, "clients", lambda row: row.median("rate"))
    return line_chart("Round trips of many clients on one server, one core", "clients", "a second",
                      lines) if lines else None


def conversions(figures):
    values = {}
    for row in figures.of("in process"):
        group, name = row.case.split("/")
        if group in ("from text", "to text"):
            values[name, group] = row.median("ns")
    return bar_chart("Conversions by type", "ns a call", unique(name for name, _ in values),
                     ["from text", "to text"], values) if values else None


def look_ups(figures):
    values = {(row.case.replace("/", ": "), "ns"): row.median("ns") for row in figures.of("in process")
              if "text/" not in row.case}
    return bar_chart("Look-ups of names", "ns a call", [name for name, _ in values], ["ns"],
                     values) if values else None


def plots(figures):
    """{name: SVG}"""
    made = {
        "round-trip": bars_of(figures, "round trip", "Round trip, median, one core", "× the floor, doubling",
                              to_floor(figures, "median_us"), doubling=True, mark=1),
        "round-trip-99th": bars_of(figures, "round trip", "Round trip, 99th percentile, one core",
                                   "× the floor, doubling", to_floor(figures, "p99_us"), doubling=True, mark=1),
        "configuration": bars_of(figures, "configuration", "A setting got or set", "median, µs",
                                 lambda row: row.median("median_us"), by_case=False),
        "one-way": bars_of(figures, "one way", "Messages without an answer", "a second, doubling",
                           lambda row: row.median("rate"), by_case=False, doubling=True),
        "fan-out": bars_of(figures, "fan-out", "An event to 16 subscribers", "deliveries a second",
                           lambda row: row.median("rate"), by_case=False),
        "queues": bars_of(figures, "queue rate", "Queues between threads, one core", "messages a second",
                          lambda row: row.median("rate")),
        "queue-wake": bars_of(figures, "queue wake", "From a send to a sleeping worker, one core", "median, µs",
                              lambda row: row.median("median_us")),
        "body-size": sizes(figures),
        "clients": clients(figures),
        "conversions": conversions(figures),
        "look-ups": look_ups(figures),
    }
    return {name: drawing for name, drawing in made.items() if drawing}
