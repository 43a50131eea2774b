# (c) the ztrace developers. Licence: see LICENSE.
"""The programs that are scored: each run as a process, measured, and what it left read."""
import json
import os
import subprocess
import sys
import tempfile

import numpy
from PIL import Image
from scipy import ndimage

import dxf_read
import dxf_write
import svg_read

HERE = os.path.dirname(os.path.abspath(__file__))
USAGE = os.path.join(HERE, "process_usage.py")
LIMIT = 300  # seconds for a picture


class Run:
    """What a run left: primitives, a complaint or "", processor seconds, peak memory in bytes."""

    def __init__(self, drawn, complaint="", seconds=None, memory=None):
        self.drawn, self.complaint = drawn, complaint
        self.seconds, self.memory = seconds, memory


def process(command):
    """(complaint, processor seconds, peak in bytes) of a process."""
    measured = subprocess.run([sys.executable, "-S", "-E", USAGE, str(LIMIT)] + command,
                              stdout=subprocess.PIPE, check=True)
    told = json.loads(measured.stdout)
    said = " ".join(told["said"].split())
    complaint = ""
    if told["status"] is None:
        complaint = f"ended after {LIMIT} s"
    elif told["status"] != 0:
        complaint = f"status {told['status']}: {said}"
    return complaint, told["seconds"], told["memory"]


class Ztrace:
    """`ztrace IN --strokes --units px -o OUT.dxf`, or with other options."""
    ending = ".dxf"

    def __init__(self, program, options):
        self.command = [program]
        self.options = options

    def run(self, picture, truth, out):
        command = self.command + [picture] + self.options + ["-o", out]
        complaint, seconds, memory = process(command)
        drawn, unread = dxf_read.read(out, truth["height"])
        return Run(drawn, complaint or unread, seconds, memory)


class Autotrace:
    """A peer that takes bitmaps alone: greys are cut halfway between ink and paper for it. Its
    pixels are centred on whole numbers."""
    ending = ".svg"
    shift = (0.5, 0.5)

    def __init__(self, program):
        self.program = program

    def run(self, picture, truth, out):
        grey = numpy.asarray(Image.open(picture).convert("L"))
        with tempfile.NamedTemporaryFile(suffix=".pgm") as bitmap:
            Image.fromarray(halved(grey)).save(bitmap.name)
            complaint, seconds, memory = process([self.program, bitmap.name, out])
        drawn, unread = svg_read.read(out, self.shift)
        return Run(drawn, complaint or unread, seconds, memory)


def halved(grey):
    """Black and white, cut halfway between paper, which most pixels are, and ink, which is what is
    darkest once noise is smoothed away."""
    smooth = ndimage.uniform_filter(grey.astype(numpy.float32), 3)
    ink, paper = numpy.percentile(smooth, [0.1, 50])
    return numpy.where(grey <= (ink + paper) / 2, 0, 255).astype(numpy.uint8)


class Oracle:
    """Draws the truth itself: what a perfect tracer would score."""
    ending = ".dxf"

    def run(self, picture, truth, out):
        dxf_write.write(out, truth)
        return Run(*dxf_read.read(out, truth["height"]))


class Left:
    """Reads what a program left earlier, FOLDER/STATE/NAME with .dxf or .svg."""
    ending = ""

    def __init__(self, folder):
        self.folder = folder

    def run(self, picture, truth, out):
        name = os.path.join(self.folder, truth["state"], truth["name"])
        if os.path.exists(name + ".svg"):
            return Run(*svg_read.read(name + ".svg"))
        return Run(*dxf_read.read(name + ".dxf", truth["height"]))

