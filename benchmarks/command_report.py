#!/usr/bin/python3
# (c) the ztrace developers. Licence: see LICENSE.
"""Turns the numbers of bench_command into a page: what is wanted and met, times, memory, start.

    benchmarks/command_report.py NUMBERS.json > PAGE.md
    benchmarks/command_report.py --short NUMBERS.json     the one table that other pages quote

Marks are judged by medians, for the slower of the command by itself and with the fitting preset.
Nothing is subtracted from the command's processes. Memory is judged where the mark allows a picture
more than the process takes for an icon.
"""
import json
import sys

import report

SCAN_FLOOR = 2       # times decoding and the engine's trace
COLOUR_FLOOR = 3
PHOTO_FACTOR = 10    # times as fast as vtracer
LOGO_FACTOR = 1
LARGE = 34e6         # pixels from which on a scan
LARGE_SECONDS = 1    # is to take this
START_SECONDS = 0.03  # an icon, beyond the toolkit's own start
BYTES = {"scan": 14, "logo": 24, "flat": 24, "photo": 24}  # a pixel, at the peak


def values(runs, tool, key="cpu"):
    return [one[key] for one in runs.get(tool, []) if key in one]


def median(runs, tool, key="cpu"):
    return report.median(values(runs, tool, key))


def slower(runs, key="cpu"):
    """Of the command by itself and with the preset."""
    both = [median(runs, tool, key) for tool in ("ztrace", "ztrace preset")]
    return max(both) if None not in both else None


def total(*parts):
    return sum(parts) if None not in parts else None


def ratio(value, by):
    return value / by if value is not None and by else None


def floor_of(runs):
    return total(median(runs, "decoding"), median(runs, "engine"))


def pixels_of(picture):
    return picture["width"] * picture["height"]


def time_marks(result, picture):
    name, kind, runs = picture["name"], picture["kind"], picture["runs"]
    ours = slower(runs)
    if kind == "scan":
        peer = total(median(runs, "potrace"), median(runs, "decoding"))
        result.at_most(f"{name}: times potrace and decoding", ratio(ours, peer), 1)
        if pixels_of(picture) >= LARGE:
            result.at_most(f"{name}: processor seconds", ours, LARGE_SECONDS)
    factor = SCAN_FLOOR if kind == "scan" else COLOUR_FLOOR
    result.at_most(f"{name}: times decoding and engine", ratio(ours, floor_of(runs)), factor)
    if kind in ("photo", "logo"):
        result.times(f"{name}: times as fast as vtracer", median(runs, "vtracer"), ours,
                     PHOTO_FACTOR if kind == "photo" else LOGO_FACTOR)


def icon_peak(numbers):
    return median(numbers["start"], "ztrace icon", "peak")


def peak_beyond(numbers, picture, process):
    """Bytes a pixel that the command takes at its peak beyond what one of the starts does."""
    parts = slower(picture["runs"], "peak"), median(numbers["start"], process, "peak")
    return ratio(parts[0] - parts[1] if None not in parts else None, pixels_of(picture))


def memory_mark(result, picture, icon):
    allowed = BYTES[picture["kind"]]
    peak = slower(picture["runs"], "peak")
    if icon is None or icon < allowed * pixels_of(picture):
        result.at_most(f"{picture['name']}: bytes a pixel", ratio(peak, pixels_of(picture)), allowed)


def beyond_toolkit(numbers, tool, key="cpu"):
    ours, toolkit = (median(numbers["start"], name, key) for name in (tool, "toolkit"))
    return ours - toolkit if None not in (ours, toolkit) else None


def marks(numbers):
    result = report.Targets()
    for picture in numbers["pictures"]:
        time_marks(result, picture)
        memory_mark(result, picture, icon_peak(numbers))
    beyond = beyond_toolkit(numbers, "ztrace icon")
    result.at_most("16 x 16 icon, beyond the toolkit's start",
                   beyond * 1e3 if beyond is not None else None, START_SECONDS * 1e3, " ms")
    return result.rows


def scaled(seconds):
    """In milliseconds, with decimals where there are few."""
    return report.number(seconds * 1e3, 1 if seconds < 0.1 else 0) if seconds is not None else "-"


def milliseconds(found):
    """The median, and the least behind it."""
    if not found:
        return "-"
    text = report.number(report.median(found) * 1e3)
    return text + (f" ({min(found) * 1e3:.1f})" if len(found) > 1 else "")


def tools_of(numbers):
    with_base = any("base" in picture["runs"] for picture in numbers["pictures"])
    return ["ztrace", "ztrace preset"] + (["base", "base preset"] if with_base else [])


def times_section(numbers):
    tools = ["decoding", "engine", "potrace", "vtracer"] + tools_of(numbers)
    rows = [[f"{picture['name']}, {pixels_of(picture) / 1e6:.1f} M, {picture['preset']}"]
            + [milliseconds(values(picture["runs"], tool)) for tool in tools]
            + [milliseconds(values(picture["runs"], "ztrace", "wall"))]
            for picture in numbers["pictures"]]
    ratios = [[picture["name"]]
              + [report.number(ratio(median(picture["runs"], tool), floor_of(picture["runs"])), 2)
                 for tool in tools[2:]] for picture in numbers["pictures"]]
    return (["## Times", "",
             f"Milliseconds of processor time, median (and least) of {numbers['rounds']}; the last "
             "column by the clock. potrace starts from a bitmap that is ready made; vtracer's is its "
             "conversion alone, without node's start. With a picture stands the preset that fits. "
             f"ztrace runs with `--fit {numbers.get('fit', 'engine')}`.",
             ""]
            + report.table(["picture"] + tools + ["ztrace, clock"], rows)
            + ["As multiples of decoding and the engine's trace together:", ""]
            + report.table(["picture"] + tools[2:], ratios))


def memory_section(numbers):
    starts = ("toolkit", "ztrace icon")
    taken = [report.number(ratio(median(numbers["start"], start, "peak"), 1e6)) for start in starts]
    rows = []
    for picture in numbers["pictures"]:
        whole = [ratio(median(picture["runs"], tool, "peak"), pixels_of(picture))
                 for tool in tools_of(numbers)]
        beyond = [peak_beyond(numbers, picture, start) for start in starts]
        rows.append([picture["name"]] + [report.number(value) for value in whole + beyond])
    return (["## Memory", "",
             "Bytes a pixel at the peak of the process's resident set, all in all, which the marks are "
             f"about; then what the picture takes beyond the {taken[0]} megabytes of a program that "
             f"only starts the toolkit, and beyond the {taken[1]} of the command with an icon. The "
             "toolkit's start and libraries are most of what a picture of a megapixel is charged with.",
             ""]
            + report.table(["picture"] + tools_of(numbers)
                           + ["beyond the toolkit's start", "beyond an icon's"], rows))


def start_section(numbers):
    rows = []
    for tool, runs in numbers["start"].items():
        beyond = beyond_toolkit(numbers, tool)
        rows.append([tool, milliseconds([one["cpu"] for one in runs]),
                     milliseconds([one["wall"] for one in runs]),
                     report.number(beyond * 1e3 if beyond is not None else None),
                     report.number(ratio(report.median([one["peak"] for one in runs]), 1e6))])
    return (["## Start", "",
             "`toolkit` is a program that makes the toolkit's application object, without a display, "
             "and ends; the icon has 16 x 16 pixels. Milliseconds, median (and least); megabytes at "
             "the peak.", ""]
            + report.table(["process", "processor", "clock", "processor, beyond the toolkit's",
                            "megabytes"], rows))


def page(numbers):
    rows = marks(numbers)
    met = sum(1 for row in rows if row[3] == "met")
    lines = [f"# The command, {numbers['date']}", "",
             "What is measured, and how: [README.md](../README.md), \"The command\".", ""]
    lines += report.machine_section(type("Raw", (), {"raw": numbers}))
    if numbers["failed"]:
        lines += ["## Failed", ""] + [f"- {text}" for text in numbers["failed"]] + [""]
    lines += ["## Marks", "", f"{met} of {len(rows)} met, by medians, for the slower of the command "
              "by itself and with the preset that fits.", ""]
    lines += report.table(["mark", "measured", "wanted", ""], rows)
    lines += times_section(numbers) + memory_section(numbers) + start_section(numbers)
    return "\n".join(lines).rstrip("\n")


def short_table(numbers):
    """The command by itself beside the others; milliseconds, medians."""
    rows = []
    for picture in numbers["pictures"]:
        runs = picture["runs"]
        ours, floor = median(runs, "ztrace"), floor_of(runs)
        cells = [scaled(value) for value in (ours, floor, median(runs, "potrace"),
                                             median(runs, "vtracer"))]
        peak = ratio(median(runs, "ztrace", "peak"), pixels_of(picture))
        rows.append([f"{picture['name']}, {pixels_of(picture) / 1e6:.1f} megapixels"] + cells
                    + [report.number(ratio(ours, floor)), report.number(peak),
                       report.number(peak_beyond(numbers, picture, "toolkit"))])
    return "\n".join(report.table(["picture", "ztrace", "decoding and engine", "potrace", "vtracer",
                                   "ztrace in times of decoding and engine", "bytes a pixel",
                                   "of these beyond the toolkit's start"],
                                  rows)).rstrip("\n")


def main():
    arguments = [one for one in sys.argv[1:] if one != "--short"]
    if len(arguments) != 1:
        sys.exit(__doc__)
    with open(arguments[0], encoding="utf-8") as stream:
        numbers = json.load(stream)
    print(page(numbers) if len(sys.argv) == 2 else short_table(numbers))


if __name__ == "__main__":
    main()
