# (c) the ztrace developers. Licence: see LICENSE.
"""The table: what was reached in every state, what is wanted, and how sure the numbers are.

A number is of all drawings of a state together, so that each primitive and each pixel of line counts
alike. The interval beside it holds 95 % of what comes out when as many drawings are drawn anew with
repetition (bootstrap).
"""
import math

import numpy

from measures import BINS, FAR, WITHIN

CENTRES = (numpy.arange(BINS) + 0.5) * (FAR / BINS)
FOUND = int(round(WITHIN / FAR * BINS))
REPEATS = 300


def total(parts, name):
    return numpy.sum([part[name] for part in parts], axis=0)


def mean_distance(parts):
    """Both ways, of what is within WITHIN: what is missed or false has rows of its own."""
    both = (total(parts, "true") + total(parts, "drawn"))[:FOUND]
    return float(both @ CENTRES[:FOUND] / both.sum()) if both.sum() else math.nan


def percentile(name):
    def measure(parts):
        counts = total(parts, name)
        if not counts.sum():
            return math.nan
        return float(CENTRES[numpy.searchsorted(numpy.cumsum(counts), 0.95 * counts.sum())])
    return measure


def near(name):
    def measure(parts):
        counts = total(parts, name)
        return float(counts[:FOUND].sum() / counts.sum()) if counts.sum() else math.nan
    return measure


def f1(*kinds):
    def measure(parts):
        right, true, drawn = numpy.sum([part["pairs"][kind] for part in parts for kind in kinds],
                                       axis=0)
        return 2 * right / (true + drawn) if true else math.nan
    return measure


def ratio(name):
    def measure(parts):
        above, below = total(parts, name)
        return above / below if below else math.nan
    return measure


def segments(parts):
    drawn = total(parts, "segments")
    return drawn / max(total(parts, "primitives"), 1) if drawn else math.nan


def per_pixel(name, factor):
    def measure(parts):
        known = [part for part in parts if part.get(name) is not None]
        pixels = sum(part["pixels"] for part in known)
        return factor * sum(part[name] for part in known) / pixels if pixels else math.nan
    return measure


def memory(parts):
    """Bytes a pixel of the largest picture: the program alone is more than a small one needs."""
    known = [part for part in parts if part.get("memory") is not None]
    if not known:
        return math.nan
    largest = max(known, key=lambda part: part["pixels"])
    return largest["memory"] / largest["pixels"]


LESS, MORE = -1, 1
# name, measure, decimals, which way is better, what is wanted in states 0 (and 0g), 1 and 2
MARKS = [
    ("mean distance, px", mean_distance, 3, LESS, (0.10, 0.12, 0.22)),
    ("95th percentile from the truth, px", percentile("true"), 2, LESS, (0.4, 0.5, 1.0)),
    ("95th percentile from the result, px", percentile("drawn"), 2, LESS, (0.6, 0.8, 1.5)),
    ("length found", near("true"), 4, MORE, (0.995, 0.99, 0.97)),
    ("length drawn rightly", near("drawn"), 4, MORE, (0.995, 0.99, 0.98)),
    ("segments per true primitive", segments, 2, LESS, (1.10, 1.25, 1.80)),
    ("F1 all", f1("line", "circle", "arc", "ellipse", "dashed"), 3, MORE, (0.95, 0.92, 0.80)),
    ("F1 lines", f1("line"), 3, MORE, (0.95, 0.92, 0.80)),
    ("F1 circles", f1("circle"), 3, MORE, (0.99, 0.98, 0.90)),
    ("F1 arcs", f1("arc"), 3, MORE, (0.92, 0.85, 0.50)),
    ("F1 ellipses", f1("ellipse"), 3, MORE, (0.90, 0.85, 0.60)),
    ("F1 dashed", f1("dashed"), 3, MORE, (0.95, 0.90, 0.75)),
    ("F1 arrow heads", f1("arrow"), 3, MORE, (0.95, 0.90, 0.75)),
    ("length of the right line weight", ratio("weight"), 3, MORE, (0.95, 0.92, 0.80)),
    ("junctions of the right kind", ratio("junctions"), 3, MORE, (0.97, None, None)),
    ("processor time, ns a pixel", per_pixel("seconds", 1e9), 0, LESS, (80, 100, 200)),
    ("peak memory of the largest, bytes a pixel", memory, 1, LESS, (12, 12, 12)),
]


def interval(measure, parts, random):
    """(2.5 %, 97.5 %) of the measure over drawings drawn with repetition."""
    values = []
    for _ in range(REPEATS):
        values.append(measure([parts[i] for i in random.integers(0, len(parts), len(parts))]))
    values = [value for value in values if not math.isnan(value)]
    return tuple(numpy.percentile(values, [2.5, 97.5])) if values else (math.nan, math.nan)


def wanted(marks, state):
    return marks[int(state[0])] if state[0] in "012" else None


def verdict(value, want, better):
    if want is None or math.isnan(value):
        return ""
    return "met" if (value - want) * better >= 0 else "**not met**"


def rows(results, with_interval=True):
    """{state: [numbers of a drawing]} -> [(mark, state, value, low, high, wanted, verdict)]"""
    made = []
    for name, measure, decimals, better, marks in MARKS:
        for state in sorted(results):
            parts = results[state]
            value = measure(parts)
            low = high = math.nan
            if with_interval and not math.isnan(value):
                low, high = interval(measure, parts, numpy.random.default_rng(1))
            want = wanted(marks, state)
            made.append({"mark": name, "state": state, "value": value, "low": low, "high": high,
                         "wanted": want, "decimals": decimals,
                         "verdict": verdict(value, want, better)})
    return made


def cell(row):
    if math.isnan(row["value"]):
        return "-"
    places = row["decimals"]
    text = f"{row['value']:.{places}f}"
    if not math.isnan(row["low"]):
        text += f" ({row['low']:.{places}f} to {row['high']:.{places}f})"
    if row["wanted"] is not None:
        text += f"; {row['wanted']:g}: {row['verdict']}"
    return text


def page(results, title, with_interval=True):
    """The table in Markdown."""
    states = sorted(results)
    made = rows(results, with_interval)
    lines = [f"# {title}", "",
             "| reached (95 % interval); wanted | " + " | ".join(f"state {state}" for state in states)
             + " |", "|---" * (len(states) + 1) + "|"]
    for name in dict.fromkeys(row["mark"] for row in made):
        cells = [cell(row) for row in made if row["mark"] == name]
        lines.append(f"| {name} | " + " | ".join(cells) + " |")
    counts = [f"state {state}: {len(results[state])} drawings, "
              f"{total(results[state], 'primitives')} primitives, "
              f"{total(results[state], 'segments')} segments drawn" for state in states]
    return "\n".join(lines + [""] + counts + failures(results)) + "\n"


def failures(results):
    """A line for each complaint, with whom it concerns."""
    whom = {}
    for state in sorted(results):
        for part in results[state]:
            if part["complaint"]:
                whom.setdefault(part["complaint"], []).append(f"{part['name']} ({state})")
    return [f"failed: {names[0]}" + (f" and {len(names) - 1} more" if len(names) > 1 else "")
            + f": {complaint}" for complaint, names in whom.items()]
