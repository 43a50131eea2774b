#!/usr/bin/python3
# (c) the ztrace developers. Licence: see LICENSE.
"""What a run over many small pictures costs besides the traces, and what a second process gains.

benchmarks/batch.py PROGRAM [--pictures N] [--rounds N] [--folder DIR]

Prints, for one process and for two: wall-clock time, processor time of everything, that of the pictures as their workers
measure it (reading, tracing, writing, checking), the rest a picture and its share, and the largest memory of the run
itself. What the machine has to give is measured beside it: two runs that know nothing of each other, each with half of the
pictures, and two processes that compute and nothing else. Beside a busy machine wall-clock times and their ratios mean
nothing; the load is printed.

Drawings are removed at the end alone: ext4 passes over inodes that were freed in the last minutes one by one, which triples
the system's time of a run that comes after a removal."""
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


def start(program, out, jobs, *inputs):
    return subprocess.Popen([program, "batch", *inputs, "--out", out, "--jobs", str(jobs), "-p", "lineart", "-q"])


def seconds(*commands):
    """Of processes side by side."""
    begin = time.monotonic()
    for process in [command() for command in commands]:
        if process.wait() != 0:
            raise SystemExit("a run has failed")
    return time.monotonic() - begin


def computing(share):
    return lambda: subprocess.Popen([sys.executable, "-c", "x = 1\nfor _ in range(%d): x = x * 48271 %% 2147483647"
                                     % (16000000 // share)])


def ceilings(program, folder, names, out):
    """Two halves as two runs, and arithmetic alone, each beside the same by one process."""
    halves = []
    for part in 0, 1:
        halves.append("%s/list%d" % (out, part))
        with open(halves[-1], "w") as file:
            file.writelines("%s/%s\n" % (folder, name) for name in names[part::2])
    runs = seconds(*[lambda part=part: start(program, "%s/part%d" % (out, part), 1, "--files-from", halves[part])
                     for part in (0, 1)])
    return runs, seconds(computing(1)), seconds(computing(2), computing(2))


def measure(program, folder, out, jobs):
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    begin = time.monotonic()
    process = start(program, out, jobs, folder)
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
    wall = time.monotonic() - begin
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    with open(out + "/ztrace-results.jsonl") as file:
        pictures = sum(json.loads(line)["seconds"]["processor"] for line in file)
    return {"wall": wall, "user": after.ru_utime - before.ru_utime, "system": after.ru_stime - before.ru_stime,
            "pictures": pictures, "run": own, "memory": memory}


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("program")
    parser.add_argument("--pictures", type=int, default=10000)
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--folder", help="where pictures and drawings are, for as long")
    arguments = parser.parse_args()
    best = {}
    others = []
    if arguments.folder:
        os.makedirs(arguments.folder, exist_ok=True)
    with tempfile.TemporaryDirectory(dir=arguments.folder) as place:
        folder = place + "/in"
        os.mkdir(folder)
        draw(folder, arguments.pictures)
        names = sorted(os.listdir(folder))
        for turn in range(arguments.rounds):
            for jobs in 1, 2:
                result = measure(arguments.program, folder, "%s/out%d-%d" % (place, turn, jobs), jobs)
                if jobs not in best or result["wall"] < best[jobs]["wall"]:
                    best[jobs] = result
            os.mkdir("%s/halves%d" % (place, turn))
            others.append(ceilings(arguments.program, folder, names, "%s/halves%d" % (place, turn)))
        load = os.getloadavg()[0]
    print("%d pictures, load %.1f" % (arguments.pictures, load))
    for jobs, result in best.items():
        total = result["user"] + result["system"]
        rest = total - result["pictures"]
        print("%d: %.2f s, processor %.2f s (%.2f user, %.2f system), pictures %.2f s, the rest %.3f ms a picture (%.1f %%), "
              "the run itself %.2f s, %.1f MB" % (jobs, result["wall"], total, result["user"], result["system"],
                                                  result["pictures"], 1000 * rest / arguments.pictures,
                                                  100 * rest / total, result["run"], result["memory"]))
    runs, alone, both = (min(values) for values in zip(*others))
    print("two processes are %.2f times one; two runs of their own %.2f times, two processes that compute %.2f times"
          % (best[1]["wall"] / best[2]["wall"], best[1]["wall"] / runs, alone / both))


if __name__ == "__main__":
    sys.exit(main())
