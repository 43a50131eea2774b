#!/usr/bin/python3
# (c) the ztrace developers. Licence: see LICENSE.
"""What a run over many small pictures costs besides the traces, and what a second process gains.

benchmarks/batch.py PROGRAM [--pictures N] [--rounds N]

Prints, for one process and for two: wall-clock time, processor time of everything, that of the pictures as their workers
measure it (reading, tracing, writing, checking), the rest a picture and its share, and the largest memory of the run
itself. Beside a busy machine the wall-clock times and their ratio mean nothing; the load is printed."""
import argparse
import json
import os
import random
import resource
import subprocess
import sys
import tempfile
import time

from PIL import Image, ImageDraw


def draw(folder, count):
    for i in range(count):
        chance = random.Random(i)
        image = Image.new("L", (160, 120), 255)
        pen = ImageDraw.Draw(image)
        for _ in range(6):
            x, y = chance.randrange(150), chance.randrange(110)
            pen.rectangle((x, y, x + chance.randrange(5, 40), y + chance.randrange(3, 20)), fill=0)
            pen.ellipse((y, x // 2, y + 20, x // 2 + 25), outline=0, width=3)
        image.save("%s/p%05d.png" % (folder, i))


def measure(program, folder, jobs):
    with tempfile.TemporaryDirectory() as out:
        before = resource.getrusage(resource.RUSAGE_CHILDREN)
        start = time.monotonic()
        process = subprocess.Popen([program, "batch", folder, "--out", out, "--jobs", str(jobs), "-p", "lineart", "-q"])
        own = memory = 0.0
        while process.poll() is None:
            try:
                with open("/proc/%d/stat" % process.pid) as file:
                    fields = file.read().rsplit(")", 1)[1].split()
                own = (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")
                with open("/proc/%d/status" % process.pid) as file:
                    memory = max(memory, *(int(line.split()[1]) / 1024 for line in file if line.startswith("VmHWM")), 0)
            except (OSError, IndexError):
                pass
            time.sleep(0.05)
        wall = time.monotonic() - start
        after = resource.getrusage(resource.RUSAGE_CHILDREN)
        with open(out + "/ztrace-results.jsonl") as file:
            pictures = sum(json.loads(line)["seconds"]["processor"] for line in file)
    total = after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime
    return {"wall": wall, "total": total, "pictures": pictures, "run": own, "memory": memory}


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("program")
    parser.add_argument("--pictures", type=int, default=10000)
    parser.add_argument("--rounds", type=int, default=3)
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        draw(folder, arguments.pictures)
        best = {}
        for _ in range(arguments.rounds):
            for jobs in 1, 2:
                result = measure(arguments.program, folder, jobs)
                if jobs not in best or result["wall"] < best[jobs]["wall"]:
                    best[jobs] = result
    print("%d pictures, load %.1f" % (arguments.pictures, os.getloadavg()[0]))
    for jobs, result in best.items():
        rest = result["total"] - result["pictures"]
        print("%d: %.2f s, processor %.2f s, pictures %.2f s, the rest %.3f ms a picture (%.1f %%), the run itself %.2f s, %.1f MB"
              % (jobs, result["wall"], result["total"], result["pictures"], 1000 * rest / arguments.pictures,
                 100 * rest / result["total"], result["run"], result["memory"]))
    print("two processes are %.2f times one" % (best[1]["wall"] / best[2]["wall"]))


if __name__ == "__main__":
    sys.exit(main())
