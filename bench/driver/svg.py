"""Draws the two kinds of plot of the report as SVG: labelled bars, and lines over a logarithmic scale."""

import math
from xml.sax.saxutils import escape

COLOURS = ["#3b6fb6", "#e08a1e", "#4b9a57", "#b5483f", "#7c62a8", "#6b6b6b"]
GRID, INK, MARK = "#dddddd", "#222222", "#c00000"
FONT = 'font-family="sans-serif" font-size="12"'
WIDTH = 860
TOP, BOTTOM, RIGHT = 64, 48, 70


class Drawing:
    """An SVG image with a white background."""

    def __init__(self, height, title):
        self.height = height
        self.parts = [f'<rect width="{WIDTH}" height="{height}" fill="#ffffff"/>']
        self.text(16, 24, title, size=15)

    def text(self, x, y, words, anchor="start", size=12, colour=INK):
        self.parts.append(f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}" font-size="{size}" '
                          f'fill="{colour}">{escape(words)}</text>')

    def line(self, x1, y1, x2, y2, colour=GRID, dashes=""):
        dashes = f' stroke-dasharray="{dashes}"' if dashes else ""
        self.parts.append(f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" stroke="{colour}"{dashes}/>')

    def box(self, x, y, width, height, colour):
        self.parts.append(f'<rect x="{x:.1f}" y="{y:.1f}" width="{width:.1f}" height="{height:.1f}" fill="{colour}"/>')

    def path(self, points, colour):
        joined = " ".join(f"{x:.1f},{y:.1f}" for x, y in points)
        self.parts.append(f'<polyline points="{joined}" fill="none" stroke="{colour}" stroke-width="2"/>')
        self.parts += [f'<circle cx="{x:.1f}" cy="{y:.1f}" r="3" fill="{colour}"/>' for x, y in points]

    def legend(self, names):
        x = 16
        for name, colour in zip(names, COLOURS):
            self.box(x, 38, 12, 12, colour)
            self.text(x + 17, 48, name)
            x += 34 + 7 * len(name)

    def svg(self):
        body = "\n".join(self.parts)
        return (f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{self.height}" '
                f'viewBox="0 0 {WIDTH} {self.height}" {FONT}>\n{body}\n</svg>\n')


def short(value):
    """A number as the label of an axis or a bar."""
    for limit, unit in ((1e6, " M"), (1e4, " k")):
        if value >= limit:
            return f"{value / (1e6 if unit == ' M' else 1e3):.3g}{unit}"
    return f"{value:.3g}"


def even_steps(most):
    """Four to ten round steps from zero to the maximum."""
    step = 10 ** math.floor(math.log10(most))
    while most / step < 4:
        step /= 2
    return [step * i for i in range(int(most / step) + 1)]


def doublings(least, most):
    """At most a dozen powers of two, times a thousand if all values are large."""
    unit = 1000 if least >= 1000 else 1
    low, high = math.floor(math.log2(least / unit)), math.ceil(math.log2(most / unit))
    stride = max(1, (high - low) // 10)
    return [unit * 2.0 ** i for i in range(low, high + stride, stride)]


def upright_grid(drawing, ticks, place, axis):
    """Draws the vertical lines of an axis, their numbers, and its title."""
    end = drawing.height - BOTTOM
    for tick in ticks:
        drawing.line(place(tick), TOP, place(tick), end)
        drawing.text(place(tick), end + 16, short(tick), "middle")
    drawing.text((place(ticks[0]) + place(ticks[-1])) / 2, end + 36, axis, "middle")


def bar_chart(title, axis, groups, series, values, doubling=False, mark=None):
    """values[(group, series)]: a number. mark: the value at which to draw a line, such as that of the floor."""
    left, thick = 230, 13
    tall = thick * len(series) + 10
    drawing = Drawing(TOP + tall * len(groups) + BOTTOM, title)
    drawing.legend(series if len(series) > 1 else [])
    most = max(values.values())
    ticks = doublings(min(values.values()), most) if doubling else even_steps(most)
    low = ticks[0]
    room = WIDTH - left - RIGHT

    def place(value):
        share = math.log2(value / low) / math.log2(max(most, ticks[-1]) / low) if doubling else value / most
        return left + room * share

    upright_grid(drawing, ticks, place, axis)
    for row, group in enumerate(groups):
        y = TOP + row * tall + 5
        drawing.text(left - 8, y + tall / 2, group, "end")
        for i, name in enumerate(series):
            if (group, name) in values:
                value = values[group, name]
                drawing.box(left, y + i * thick, max(1.0, place(value) - left), thick - 2, COLOURS[i])
                drawing.text(place(value) + 4, y + i * thick + 10, short(value), size=10)
    if mark is not None:
        drawing.line(place(mark), TOP, place(mark), drawing.height - BOTTOM, MARK, "4 3")
    return drawing.svg()


def line_chart(title, across, up, lines, mark=None):
    """lines: {name: [(x, y), ...]}; x is logarithmic, y linear from zero."""
    left, top, height = 80, TOP + 20, 460
    drawing = Drawing(height, title)
    drawing.legend(list(lines))
    points = [point for line in lines.values() for point in line]
    xs = sorted({x for x, _ in points})
    most = max(y for _, y in points) * 1.05
    room, end = WIDTH - left - RIGHT, height - BOTTOM
    span = math.log2(xs[-1] / xs[0]) if len(xs) > 1 else 1

    def place(x, y):
        return left + room * math.log2(x / xs[0]) / span, end - (end - top) * y / most

    for tick in even_steps(most):
        y = place(xs[0], tick)[1]
        drawing.line(left, y, left + room, y)
        drawing.text(left - 6, y + 4, short(tick), "end")
    for x in xs:
        drawing.text(place(x, 0)[0], end + 16, f"{x:g}" if x < 1024 else f"{x // 1024}K" if x < 1 << 20 else
                     f"{x >> 20}M", "middle")
    drawing.text(left + room / 2, end + 36, across, "middle")
    drawing.text(left - 6, top - 10, up, "start")
    for colour, line in zip(COLOURS, lines.values()):
        drawing.path([place(x, y) for x, y in line], colour)
    if mark is not None:
        y = place(xs[0], mark)[1]
        drawing.line(left, y, left + room, y, MARK, "4 3")
    return drawing.svg()
