# (c) the ztrace developers. Licence: see LICENSE.
"""Writes truth as the DXF that a perfect tracer would leave: one entity a primitive."""
import math

import linetypes
import primitives

LAYERS = {"dim": "DIM", "text": "TEXT", "hatch": "HATCH"}


def pairs(*values):
    return "".join(f"{code}\n{value:.9g}\n" if isinstance(value, float) else f"{code}\n{value}\n"
                   for code, value in zip(values[::2], values[1::2]))


def table(patterns):
    rows = pairs(0, "SECTION", 2, "TABLES", 0, "TABLE", 2, "LTYPE", 70, len(patterns))
    for name, pattern in patterns.items():
        rows += pairs(0, "LTYPE", 2, name, 70, 0, 3, "", 72, 65, 73, len(pattern), 40,
                      float(sum(pattern)))
        for place, value in enumerate(pattern):
            rows += pairs(49, float(-value if place % 2 else value))
    return rows + pairs(0, "ENDTAB", 0, "ENDSEC")


def degrees(angle):
    return math.degrees(angle) % 360


def geometry(item, height):
    """Type and shape of the entity, y upwards."""
    def point(code, xy):
        return pairs(code, float(xy[0]), code + 10, float(height - xy[1]))

    kind = item["kind"]
    if kind == "line":
        return "LINE", point(10, item["points"][0]) + point(11, item["points"][1])
    if kind == "circle":
        return "CIRCLE", point(10, item["centre"]) + pairs(40, float(item["radius"]))
    if kind == "arc":
        first, last = -item["start"], -item["start"] - item["sweep"]
        if item["sweep"] > 0:
            first, last = last, first
        return "ARC", point(10, item["centre"]) + pairs(40, float(item["radius"]), 50,
                                                        degrees(first), 51, degrees(last))
    if kind == "ellipse":
        return "ELLIPSE", ellipse(item, point)
    if kind == "curve":
        rows = pairs(90, len(item["points"]), 70, 0)
        return "LWPOLYLINE", rows + "".join(point(10, xy) for xy in item["points"])
    corners = item["points"] if len(item["points"]) > 3 else item["points"] + item["points"][-1:]
    return "SOLID", "".join(point(code, xy) for code, xy in zip((10, 11, 13, 12), corners))


def ellipse(item, point):
    (a, b), angle = item["radii"], -item["angle"]
    start, end = 0.0, 2 * math.pi
    if "sweep" in item:
        start, end = -item["start"], -item["start"] - item["sweep"]
        if item["sweep"] > 0:
            start, end = end, start
    if a < b:
        a, b, angle = b, a, angle + math.pi / 2
        start, end = start - math.pi / 2, end - math.pi / 2
    return point(10, item["centre"]) + pairs(11, a * math.cos(angle), 21, a * math.sin(angle),
                                             40, b / a, 41, start, 42, end)


def write(path, drawing):
    patterns, rows = {}, ""
    for item in drawing["primitives"]:
        kind, shape = geometry(item, drawing["height"])
        layer = "DIM" if kind == "SOLID" else LAYERS.get(item.get("role"), "0")
        rows += pairs(0, kind, 8, layer)
        if primitives.is_path(item):
            weight = linetypes.weight_of(item["width"], drawing["dpi"])
            rows += pairs(370, linetypes.WEIGHTS[linetypes.nearest_weight(weight)])
        if item.get("dash"):
            name = f"{item['type'].upper()}{len(patterns)}"
            patterns[name] = item["dash"]
            rows += pairs(6, name)
        rows += shape
    with open(path, "w", encoding="utf-8") as stream:
        stream.write(table(patterns) + pairs(0, "SECTION", 2, "ENTITIES") + rows
                     + pairs(0, "ENDSEC", 0, "EOF"))
