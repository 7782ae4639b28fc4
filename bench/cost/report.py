# SPDX-License-Identifier: Apache-2.0

"""report.py FILE: prints the tables of what measure.py has written to FILE, in Markdown."""

import pathlib
import sys

from figures import BUILDS, MIB, Figures, quartiles

# How much is too much, where it has been said.
MOST_TIME = {"default": ("1.00", "0.65"), "static": ("0.70", "0.25")}
MOST_FOR_ATTACHMENT = "1.10"
UNCOUNTED_MEMORY = 16 * MIB
MOST_MEMORY = {  # MiB of the message, multiples of it
    "text, UTF-8": (64, 2.05),
    "text, KOI8-R": (32, 3.2),
    "text, Base64": (16, 2.05),
    "multipart, text first": (64, 1.1),
    "empty lines": (16, 4),
    "2-byte lines": (16, 4),
    "parameters of one Content-Type": (16, 4),
    "4-byte parts": (16, 16),
}


def print_table(head, rows):
    rows = [head, *([str(cell) for cell in row] for row in rows)]
    widths = [max(len(row[i]) for row in rows) for i in range(len(head))]
    rows.insert(1, ["-" * widths[0], *("-" * (width - 1) + ":" for width in widths[1:])])
    print()
    for row in rows:
        numbers = [cell.rjust(width) for cell, width in zip(row[1:], widths[1:])]
        print("| " + " | ".join([row[0].ljust(widths[0]), *numbers]) + " |")


def ratio_row(name, ratios, most=""):
    median, low, high = quartiles(ratios)
    return name, f"{median:.2f}", f"{low:.2f} to {high:.2f}", most


def time_rows(figures):
    for build, words in BUILDS.items():
        most = MOST_TIME.get(build, ("", ""))
        yield ratio_row(f"{words}: answered", figures.beside_floor(build, "answered"), most[0])
        people = figures.beside_floor(build, "answered, only people")
        yield ratio_row(f"{words}: answered, only people", people)
        yield ratio_row(f"{words}: refused as a loop", figures.beside_floor(build, "loop"), most[1])
    name = f"reply with {figures.all['attachment']['mib']} MiB attached, beside base64"
    yield ratio_row(name, figures.beside_base64(), MOST_FOR_ATTACHMENT)


def part_rows(figures):
    parts = {build: figures.parts(build) for build in BUILDS}
    for part in parts["default"]:
        yield part, *(f"{parts[build][part]:.2f}" for build in parts)
    yield "in all", *(f"{sum(parts[build].values()):.2f}" for build in parts)


def memory_rows(figures):
    for shape, (mib, most) in MOST_MEMORY.items():
        beyond = (figures.peaks(shape)[mib] - UNCOUNTED_MEMORY) / (mib * MIB)
        yield f"{mib} MiB: {shape}", f"{beyond:.2f}", f"{most:.2f}"


def many_rows(figures):
    for build in ("default", "static"):
        for processes, rate, own, server in figures.many(build):
            yield f"{BUILDS[build]}: {processes}", f"{rate:.0f}", f"{own:.0%}", f"{server:.0%}"


def main(file):
    figures = Figures(file)
    rounds = len(figures.runs["floor"]["answered"])
    before, after = figures.all["load before"], figures.all["load after"]
    print(
        f"{rounds} rounds on {figures.all['machine']['processors']} processors, load {before:.1f}"
        f" before and {after:.1f} after; the floor takes"
        f" {figures.milliseconds('floor', 'answered'):.2f} ms of processor time."
    )
    print_table(
        ["processor time beside the floor", "median", "middle half", "at most"], time_rows(figures)
    )
    print_table(["milliseconds", *BUILDS.values()], part_rows(figures))
    print_table(["memory beyond 16 MiB", "times the message", "at most"], memory_rows(figures))
    print_table(["processes at a time", "messages/s", "they take", "server takes"], many_rows(figures))


if __name__ == "__main__":
    main(pathlib.Path(sys.argv[1]))
