# SPDX-License-Identifier: Apache-2.0

"""pictures.py FILE DIRECTORY: draws what measure.py has written to FILE, as SVG in DIRECTORY."""

import io
import pathlib
import sys

import matplotlib

matplotlib.use("svg")
from matplotlib import pyplot

from figures import BUILDS, MIB, Figures

# Colours that everybody can tell apart.
COLOURS = ["#999999", "#d55e00", "#e69f00", "#f0e442", "#0072b2", "#56b4e9", "#009e73", "#bbbbbb"]
LINE_COLOURS = ["#d55e00", "#0072b2", "#009e73", "#cc79a7", "black", "#e69f00", "#56b4e9"]
BUILD_COLOURS = {"default": "#0072b2", "static": "#d55e00"}


def set_style():
    matplotlib.rcParams.update(
        {
            # Text stays text, and the same figures make the same file.
            "svg.fonttype": "none",
            "svg.hashsalt": "cost",
            "font.family": "sans-serif",
            "font.sans-serif": ["DejaVu Sans"],
            "font.size": 10,
            "axes.spines.top": False,
            "axes.spines.right": False,
            "axes.axisbelow": True,
            "axes.titlesize": 11,
            "axes.titlelocation": "left",
            "legend.frameon": False,
        }
    )


def save(figure, file):
    drawn = io.StringIO()
    metadata = {"Date": None, "Creator": None}
    figure.savefig(drawn, format="svg", metadata=metadata, facecolor="white")
    file.write_text("".join(line.rstrip() + "\n" for line in drawn.getvalue().splitlines()))
    pyplot.close(figure)


def draw_parts(figures, file):
    """What one answered message costs, part by part."""
    parts = {build: figures.parts(build) for build in BUILDS}
    floor = figures.milliseconds("floor", "answered")
    names = [*BUILDS.values(), "the floor"]
    figure, axes = pyplot.subplots(figsize=(8.4, 4.2), layout="constrained")
    ends = [0.0] * len(BUILDS)
    for part, colour in zip(parts["default"], COLOURS):
        lengths = [max(parts[build][part], 0) for build in BUILDS]
        bars = axes.barh(names[:-1], lengths, left=ends, color=colour, label=part, height=0.6)
        labels = [f"{length:.2f}" if length > 0.06 * floor else "" for length in lengths]
        axes.bar_label(bars, labels, label_type="center", fontsize=9)
        ends = [end + length for end, length in zip(ends, lengths)]
    axes.barh(names[-1:], [floor], color="white", edgecolor="#666666", height=0.6)
    for row, end in enumerate([*ends, floor]):
        axes.text(end + 0.02 * floor, row, f"{end:.2f} ms", va="center")
    axes.set_xlim(0, 1.12 * max(*ends, floor))
    axes.invert_yaxis()
    axes.set_xlabel("milliseconds of processor time")
    axes.set_title("Where the processor time of an answered message of 2 KB goes")
    axes.tick_params(left=False)
    axes.legend(loc="upper center", bbox_to_anchor=(0.36, -0.18), ncol=2)
    save(figure, file)


def shapes_by_curve(figures):
    """The peaks by size, and the shapes that have them; curves that would lie upon each other as one."""
    curves = []
    all_peaks = {shape: figures.peaks(shape) for shape in figures.all["peak"]}
    line_width = 0.015 * max(max(peaks.values()) for peaks in all_peaks.values())
    for shape, peaks in all_peaks.items():
        for curve, shapes in curves:
            if all(abs(peaks[size] - curve[size]) < line_width for size in peaks):
                shapes.append(shape)
                break
        else:
            curves.append((peaks, [shape]))
    return sorted(curves, key=lambda curve: -max(curve[0].values()))


def draw_memory(figures, file):
    """The peak over the size of the message, for each shape of it."""
    figure, axes = pyplot.subplots(figsize=(8.4, 4.6), layout="constrained")
    for (peaks, shapes), colour in zip(shapes_by_curve(figures), LINE_COLOURS):
        sizes = list(peaks)
        mibs = [peak / MIB for peak in peaks.values()]
        axes.plot(sizes, mibs, marker="o", color=colour)
        axes.annotate(
            f"{mibs[-1]:.0f} MiB: " + ",\n".join(shapes),
            (sizes[-1], mibs[-1]),
            xytext=(8, 0),
            textcoords="offset points",
            va="center",
            color=colour,
        )
    axes.plot([0, *sizes], [0, *sizes], color="#999999", linestyle="dotted")
    axes.text(sizes[-1] / 2, sizes[-1] / 3, "the message itself", color="#666666")
    axes.set_xticks(sizes[-4:])
    axes.set_xlim(0)
    axes.set_ylim(0)
    axes.grid(color="#dddddd")
    axes.set_xlabel("size of the message, MiB")
    axes.set_title("Most memory at a time, MiB")
    save(figure, file)


def draw_many(figures, file):
    """How many messages are answered at once, and what takes the machine's time."""
    figure, (rates, shares) = pyplot.subplots(1, 2, figsize=(8.4, 3.8), layout="constrained")
    for build, colour in BUILD_COLOURS.items():
        processes, rate, own, server = zip(*figures.many(build))
        rates.plot(processes, rate, marker="o", color=colour, label=BUILDS[build])
        shares.plot(processes, [100 * share for share in own], marker="o", color=colour)
        shares.plot(
            processes,
            [100 * share for share in server],
            marker="s",
            linestyle="dashed",
            color=colour,
        )
    shares.plot([], [], marker="o", color="black", label="autoresponders and mail program")
    shares.plot([], [], marker="s", color="black", linestyle="dashed", label="database server")
    for axes, title in ((rates, "Messages a second"), (shares, "Part of the machine, %")):
        axes.set_xscale("log", base=2)
        axes.set_xticks(processes, [str(number) for number in processes])
        axes.set_ylim(bottom=0)
        axes.grid(color="#dddddd")
        axes.set_xlabel("processes at a time")
        axes.set_title(title)
        axes.legend(loc="best")
    shares.set_ylim(top=100)
    save(figure, file)


def main(file, directory):
    set_style()
    figures = Figures(file)
    draw_parts(figures, directory / "parts.svg")
    draw_memory(figures, directory / "memory.svg")
    draw_many(figures, directory / "many.svg")


if __name__ == "__main__":
    main(*(pathlib.Path(argument) for argument in sys.argv[1:]))
