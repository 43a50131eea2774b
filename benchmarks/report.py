#!/usr/bin/python3
# (c) the ztrace developers. Licence: see LICENSE.
"""Turns the numbers of measure.py into a page with tables and targets, and a plot.

    benchmarks/report.py build/bench/results.json benchmarks/results

Writes <date>.md, <date>.svg (cost against size) and <date>.json (medians). Exit status 0 whether
targets are met or not: the page says so.
"""
import json
import os
import re
import statistics
import sys

TOOLS = ["ztrace", "ztrace without AVX2", "decoding", "potrace", "OpenCV", "vtracer binary",
         "vtracer stacked", "vtracer cutout"]
CYCLES = 3
SAME = 1.05  # what counts as no more cost
LINEAR = 1.3


def median(values):
    return statistics.median(values) if values else None


def number(value, digits=1):
    return "-" if value is None else f"{value:.{digits}f}"


class Numbers:
    def __init__(self, raw):
        self.raw = raw
        self.trace = {image: {tool: median(values) for tool, values in row.items()}
                      for image, row in raw["traces"].items()}
        self.alone = {name: median(row["ns_per_pixel"]) for name, row in raw["alone"].items()}
        self.call = {name: median(row["ns"]) for name, row in raw["alone"].items()}

    def tool(self, image, tool):
        return self.trace.get(image, {}).get(tool)

    def fastest(self, image, start):
        """The best of a peer's ways."""
        values = [value for tool, value in self.trace.get(image, {}).items()
                  if tool.startswith(start)]
        return min(values) if values else None

    def stage(self, name, image):
        return self.alone.get(f"{name}/{image}")

    def quantising(self, colours, image):
        """All cycles: sums in all but the last, which leaves the indices."""
        sums = self.stage(f"sums {colours}", image)
        indices = self.stage(f"indices {colours}", image)
        if sums is None or indices is None:
            return None
        return (CYCLES - 1) * sums + indices

    def tiles(self):
        """{picture: [(pixels, ns a pixel)]} by size."""
        found = {}
        for name, value in self.alone.items():
            group, *rest = name.split("/")
            if group == "tiled":
                found.setdefault(rest[0], []).append((self.raw["alone"][name]["pixels"], value))
        return {picture: sorted(points) for picture, points in found.items()}


class Targets:
    def __init__(self):
        self.rows = []

    def at_most(self, text, value, limit, unit=""):
        """value <= limit; a missing number is no success."""
        if value is None or limit is None:
            self.rows.append((text, "-", "-", "not measured"))
            return
        percent = 100 * (value / limit - 1) if limit else 0
        verdict = "met" if value <= limit else f"**not met**, {percent:.0f} % above"
        digits = 2 if limit < 10 else 1
        self.rows.append((text, f"{number(value, digits)}{unit}", f"at most {number(limit, digits)}{unit}",
                          verdict))

    def times(self, text, peer, ours, factor):
        """At least `factor` times faster."""
        if peer is None or ours is None:
            self.rows.append((text, "-", f"at least {factor:g}", "not measured"))
            return
        ratio = peer / ours
        verdict = "met" if ratio >= factor else f"**not met**, {100 * (1 - ratio / factor):.0f} % short"
        self.rows.append((text, number(ratio, 2), f"at least {factor:g}", verdict))


def targets(numbers):
    result = Targets()
    unit = " ns"
    for image, limit in (("text page", 8), ("score sheet", 5), ("cartoon", 20), ("photo 12M", 35),
                         ("photo 2M", 60)):
        result.at_most(f"{image}: time a pixel", numbers.tool(image, "ztrace"), limit, unit)
    for image in ("text page", "score sheet", "photo 2M", "photo 12M"):
        result.times(f"{image}: times as fast as potrace", numbers.tool(image, "potrace"),
                     numbers.tool(image, "ztrace"), 1)
    for image in ("photo 2M", "photo 12M"):
        result.times(f"{image}: times as fast as OpenCV", numbers.tool(image, "OpenCV"),
                     numbers.tool(image, "ztrace"), 1)
    for image, factor in (("clip art", 5), ("cartoon", 5), ("photo 2M", 20), ("photo 12M", 20)):
        result.times(f"{image}: times as fast as vtracer (its faster way)",
                     numbers.fastest(image, "vtracer"), numbers.tool(image, "ztrace"), factor)
    for image in ("cartoon", "photo 12M"):
        ours, decoding = numbers.tool(image, "ztrace"), numbers.tool(image, "decoding")
        result.at_most(f"{image}: cost against decoding the PNG",
                       ours / decoding if ours and decoding else None, 2)
    colour = [name for name, row in numbers.raw["images"].items() if not row["scan"]]
    for image in colour:
        many, few = numbers.quantising(256, image), numbers.quantising(16, image)
        result.at_most(f"{image}: quantising 256 colours against 16",
                       many / few if many and few else None, 8)
    for image in colour:
        many, few = numbers.stage("outlines 256", image), numbers.stage("outlines 16", image)
        result.at_most(f"{image}: outlines with room for 256 colours against 16",
                       many / few if many and few else None, SAME)
    for picture, points in numbers.tiles().items():
        result.at_most(f"{picture} tiled: {points[-1][0] / 1e6:.0f} megapixels against "
                       f"{points[0][0] / 1e6:.0f}, a pixel", points[-1][1] / points[0][1], LINEAR)
    for row in numbers.raw["memory"]:
        if row["image"] == "flat":
            result.at_most(f"memory, flat, {row['colours']} colours, bytes a pixel",
                           row["bytes_per_pixel"], 14)
    hard = sorted(name for name in numbers.alone if name.startswith("hard/"))
    for name in hard:
        if name.endswith("/2000"):
            small = numbers.alone.get(name[:-len("2000")] + "1000")
            result.at_most(f"{name.split('/')[1]}: 4 megapixels against 1, a pixel",
                           numbers.alone[name] / small if small else None, LINEAR)
    for name in sorted(numbers.call):
        if name.startswith("icon/"):
            result.at_most(f"16 x 16 icon, {name.split('/')[1]}, microseconds",
                           numbers.call[name] / 1e3, 30)
    return result.rows


def table(header, rows):
    lines = ["| " + " | ".join(header) + " |", "|---" * len(header) + "|"]
    return lines + ["| " + " | ".join(row) + " |" for row in rows] + [""]


def spread(values):
    return f" ({min(values):.1f} to {max(values):.1f})" if values and len(values) > 1 else ""


def traces_section(numbers):
    tools = [tool for tool in TOOLS
             if any(tool in row for row in numbers.trace.values())]
    rows = []
    for image, facts in numbers.raw["images"].items():
        pixels = facts["width"] * facts["height"] / 1e6
        cells = [f"{image}, {pixels:.1f} M, {2 if facts['scan'] else 16} colours"]
        for tool in tools:
            values = numbers.raw["traces"][image].get(tool)
            cells.append(number(median(values)) + spread(values))
        rows.append(cells)
    ratios = []
    for image in numbers.raw["images"]:
        ours = numbers.tool(image, "ztrace")
        peers = [numbers.tool(image, tool) for tool in tools[1:]]
        ratios.append([image] + [number(peer / ours, 2) if peer and ours else "-"
                                 for peer in peers])
    return (["## Whole traces", "",
             "Nanoseconds of processor time a pixel of the source, median (and range) of "
             f"{numbers.raw['rounds']}, in turns. ztrace quantises, blurs and traces; potrace and "
             "OpenCV get ready-made masks, one for a scan and 16 for a colour image.", ""]
            + table(["image"] + tools, rows)
            + ["The same as multiples of ztrace's time:", ""]
            + table(["image"] + tools[1:], ratios))


def stages_section(numbers):
    names = {}
    for name in numbers.alone:
        match = re.match(r"(.+)/(.+)$", name)
        if match and match.group(2) in numbers.raw["images"]:
            names.setdefault(match.group(1), {})[match.group(2)] = numbers.alone[name]
    images = list(numbers.raw["images"])
    rows = [[stage] + [number(row.get(image), 2) for image in images]
            for stage, row in names.items()]
    return (["## Stages", "", "Nanoseconds a pixel, median.", ""] + table(["stage"] + images, rows))


def more_traces_section(numbers):
    rows = []
    for name, value in numbers.alone.items():
        parts = name.split("/")
        if parts[0] == "trace":
            few = numbers.tool(parts[1], "ztrace")
            rows.append([parts[1], number(few), number(value)])
    lines = ["## 256 colours", "", "Whole traces, nanoseconds a pixel; more colours make more "
             "outlines.", ""] + table(["image", "16 colours", "256 colours"], rows)
    hard = [[name.split("/")[1], f"{int(name.split('/')[2]) ** 2 / 1e6:g} M",
             number(value, 2)] for name, value in numbers.alone.items()
            if name.startswith("hard/")]
    lines += ["## Hard pictures", "", "Line-art options, run in a stack of 256 KiB.", ""]
    lines += table(["picture", "pixels", "ns a pixel"], hard)
    icons = [[name.split("/")[1], number(value / 1e3, 2)] for name, value in numbers.call.items()
             if name.startswith("icon/")]
    lines += ["## A 16 x 16 icon", "", "The tracer's construction and destruction included.", ""]
    return lines + table(["options", "microseconds"], icons)


def sizes_section(numbers, plot):
    rows = [[picture, f"{pixels / 1e6:.0f} M", number(value, 2)]
            for picture, points in numbers.tiles().items() for pixels, value in points]
    picture = [f"![Cost against size]({plot})", ""] if plot else []
    return (["## Cost against size", "", "A part of 1 megapixel, tiled; every size starts from the "
             "same palette.", ""] + picture + table(["picture", "pixels", "ns a pixel"], rows))


def memory_section(numbers):
    rows = [[row["image"], f"{row['pixels'] / 1e6:.1f} M", str(row["colours"]),
             number(row["bytes_per_pixel"], 2), number(row["result_bytes_per_pixel"], 2),
             str(row["outlines"])] for row in numbers.raw["memory"]]
    return (["## Memory", "", "Peak of the resident set during trace, beyond the caller's image and "
             "the result; bytes a pixel.", ""]
            + table(["image", "pixels", "colours", "trace", "result", "outlines"], rows))


def machine_section(numbers):
    facts, versions = numbers.raw["machine"], numbers.raw["versions"]
    return ["## Machine and versions", "",
            f"{facts['processor']}, {facts['processors']} processors, {facts['memory']}; "
            f"{facts['system']}; load at the start {facts['load']}. Every run on one processor.", "",
            "; ".join(f"{name} {version}" for name, version in versions.items()) + ".", ""]


def draw(numbers, path):
    """The plot, or False where the plotting library is missing."""
    try:
        import matplotlib
        matplotlib.use("svg")
        from matplotlib import pyplot
    except ImportError:
        return False
    matplotlib.rcParams["svg.hashsalt"] = "ztrace"
    figure, axes = pyplot.subplots(figsize=(6.4, 4))
    for picture, points in numbers.tiles().items():
        axes.plot([pixels / 1e6 for pixels, _ in points], [value for _, value in points],
                  marker="o", label=picture)
    axes.set_xscale("log")
    axes.set_xlabel("megapixels")
    axes.set_ylabel("nanoseconds a pixel")
    axes.set_ylim(bottom=0)
    axes.grid(alpha=0.3)
    axes.legend()
    figure.tight_layout()
    figure.savefig(path, metadata={"Date": None})
    return True


def medians(numbers):
    raw = numbers.raw
    return {"date": raw["date"], "rounds": raw["rounds"], "machine": raw["machine"],
            "versions": raw["versions"], "images": raw["images"],
            "traces": {image: {tool: round(value, 3) for tool, value in row.items()}
                       for image, row in numbers.trace.items()},
            "alone": {name: round(value, 3) for name, value in numbers.alone.items()},
            "memory": raw["memory"]}


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    with open(sys.argv[1], encoding="utf-8") as stream:
        numbers = Numbers(json.load(stream))
    folder = sys.argv[2]
    os.makedirs(folder, exist_ok=True)
    stem = numbers.raw["date"]
    plot = f"{stem}.svg" if draw(numbers, os.path.join(folder, f"{stem}.svg")) else None
    rows = targets(numbers)
    met = sum(1 for row in rows if row[3] == "met")
    lines = [f"# Benchmarks of {stem}", "",
             "What is measured, and how: [README.md](../README.md).", ""]
    lines += machine_section(numbers)
    if numbers.raw["failed"]:
        lines += ["## Failed", ""] + [f"- {text}" for text in numbers.raw["failed"]] + [""]
    lines += ["## Targets", "", f"{met} of {len(rows)} met.", ""]
    lines += table(["target", "measured", "wanted", ""], rows)
    lines += traces_section(numbers) + sizes_section(numbers, plot) + memory_section(numbers)
    lines += more_traces_section(numbers) + stages_section(numbers)
    path = os.path.join(folder, f"{stem}.md")
    with open(path, "w", encoding="utf-8") as stream:
        stream.write("\n".join(lines).rstrip("\n") + "\n")
    with open(os.path.join(folder, f"{stem}.json"), "w", encoding="utf-8") as stream:
        json.dump(medians(numbers), stream, indent=1)
        stream.write("\n")
    print(path)


if __name__ == "__main__":
    main()
