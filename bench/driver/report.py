"""Writes a run's figures, read from the JSON, as text; with --publish also as Markdown and plots into a folder."""

import argparse
import json
import os
import textwrap

from figures import Figures
from plots import plots
from tables import EXPLANATION, bars_table, headline, measure_tables

WIDTH = 120


def as_text(table):
    cells = [table.columns] + table.rows
    widths = [max(len(row[i]) for row in cells) for i in range(len(table.columns))]
    lines = [table.title]
    for row in cells:
        padded = [cell.ljust(width) if i < table.words else cell.rjust(width)
                  for i, (cell, width) in enumerate(zip(row, widths))]
        lines.append("  " + "  ".join(padded).rstrip())
    return "\n".join(lines) + "\n"


def bars_as_text(table):
    """Puts each target on a separate line, since its text is long."""
    lines = [table.title]
    for verdict, what, figure, target, load in table.rows:
        lines += [f"  {verdict:12}  {what}: {figure} (other load {load})", f"  {'':12}  target: {target}"]
    return "\n".join(lines) + "\n"


def as_markdown(table):
    align = ["---"] * table.words + ["---:"] * (len(table.columns) - table.words)
    rows = [table.columns, align] + table.rows
    return f"## {table.title[0].upper()}{table.title[1:]}\n\n" + "".join(
        "| " + " | ".join(row) + " |\n" for row in rows)


def print_text(figures):
    print(textwrap.fill(headline(figures) + " " + EXPLANATION, WIDTH) + "\n")
    for table in measure_tables(figures):
        print(as_text(table))
    for words in figures.left_out:
        print(f"left out: {words}")
    print(bars_as_text(bars_table(figures)), end="")


def left_out(figures):
    return ["## Left out\n", "".join(f"- {words}\n" for words in figures.left_out)] if figures.left_out else []


def publish(figures, folder):
    os.makedirs(folder, exist_ok=True)
    tables = [bars_table(figures)] + measure_tables(figures)
    parts = ["# Results\n\nMade by `script/bench --record`; not to be edited.\n",
             textwrap.fill(headline(figures), WIDTH) + "\n", textwrap.fill(EXPLANATION, WIDTH) + "\n"]
    with open(os.path.join(folder, "results.md"), "w", encoding="utf-8") as file:
        file.write("\n".join(parts + [as_markdown(table) for table in tables] + left_out(figures)))
    for name, drawing in plots(figures).items():
        with open(os.path.join(folder, f"{name}.svg"), "w", encoding="utf-8") as file:
            file.write(drawing)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("json", help="what a run wrote")
    parser.add_argument("--publish", metavar="FOLDER")
    options = parser.parse_args()
    with open(options.json, encoding="utf-8") as file:
        figures = Figures.from_json(json.load(file))
    print_text(figures)
    if options.publish:
        publish(figures, options.publish)


if __name__ == "__main__":
    main()
