#!/usr/bin/python3
# (c) the ztrace developers. Licence: see LICENSE.
"""Runs all benchmarks and the peers and leaves one file of numbers for report.py.

    benchmarks/measure.py --build build/bench --corpus build/corpus --out build/bench/results.json

Everything runs on one processor. Whole traces and peers take turns, image by image and round by
round, so that a change in the machine's pace meets all of them. A peer that is not there is left
out, and named on stderr.
"""
import argparse
import datetime
import json
import os
import platform
import resource
import shutil
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
VTRACER_MODES = {True: ["binary"], False: ["stacked", "cutout"]}
SMALL_STACK = 256 * 1024


def say(text):
    print(text, file=sys.stderr, flush=True)


def pinned(command):
    """The command on the first processor that this process may use."""
    if not shutil.which("taskset"):
        return command
    return ["taskset", "-c", str(min(os.sched_getaffinity(0)))] + command


def output(command, **keywords):
    """What a command prints, or None, with its complaint passed on, when it fails."""
    try:
        done = subprocess.run(command, stdout=subprocess.PIPE, text=True, **keywords)
    except OSError as error:
        say(f"{command[0]}: {error}")
        return None
    return done.stdout if done.returncode == 0 else None


def first_line(command):
    text = output(command, stderr=subprocess.STDOUT) if shutil.which(command[0]) else None
    return text.strip().splitlines()[0] if text and text.strip() else "-"


def install_vtracer(folder):
    """Into a folder of the build tree. npm's strict form is not used: it insists on the packages of
    all other platforms being in the lock file."""
    if not shutil.which("npm"):
        return False
    os.makedirs(folder, exist_ok=True)
    for file in ("package.json", "package-lock.json", "vtracer.mjs"):
        shutil.copy(os.path.join(HERE, "peers", file), folder)
    return output(["npm", "install", "--no-save", "--ignore-scripts", "--no-audit", "--no-fund"],
                  cwd=folder, stderr=subprocess.DEVNULL) is not None


class Runner:
    def __init__(self, args):
        self.args = args
        self.bin = os.path.join(os.path.abspath(args.build), "benchmarks")
        self.images_folder = os.path.join(os.path.abspath(args.build), "images")
        self.peers_folder = os.path.join(os.path.abspath(args.build), "peers")
        self.environment = dict(os.environ, ZTRACE_CORPUS=os.path.abspath(args.corpus))
        self.failed = []

    def program(self, name):
        return os.path.join(self.bin, name)

    def google(self, name, expression, repetitions, check=True, seconds=0.5, environment=None,
               **keywords):
        """Runs one benchmark program; {benchmark: [its numbers, a dictionary a repetition]}."""
        file = os.path.join(self.bin, "last.json")
        command = [self.program(name), f"--benchmark_filter={expression}",
                   f"--benchmark_repetitions={repetitions}", f"--benchmark_min_time={seconds}",
                   f"--benchmark_out={file}", "--benchmark_out_format=json"]
        if not check:
            command.append("--no-check")
        done = subprocess.run(pinned(command), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                              env=dict(self.environment, **(environment or {})), **keywords)
        found = {}
        if done.returncode < 0:
            self.failed.append(f"{name} {expression}: signal {-done.returncode}")
            return found
        with open(file, encoding="utf-8") as stream:
            for row in json.load(stream)["benchmarks"]:
                if row.get("run_type") == "aggregate":
                    continue
                if row.get("error_occurred"):
                    self.failed.append(f"{row['run_name']}: {row['error_message']}")
                else:
                    found.setdefault(row["run_name"], []).append(row)
        return found

    def export(self):
        say("== images and masks for the peers")
        if output([self.program("export_images"), self.images_folder], env=self.environment) is None:
            sys.exit("measure.py: the corpus is not complete")
        images = []
        with open(os.path.join(self.images_folder, "images.tsv"), encoding="utf-8") as stream:
            for line in stream:
                name, file, width, height, masks = line.rstrip("\n").split("\t")
                stem = os.path.join(self.images_folder, file)
                images.append({
                    "name": name, "stem": stem, "width": int(width), "height": int(height),
                    "scan": int(masks) == 1,
                    "masks": [f"{stem}.{k:02d}.pbm" for k in range(int(masks))]})
        return images

    # The peers' processor seconds for one image, or None.

    def opencv(self, image):
        program = self.program("peer_opencv")
        if not os.path.exists(program):
            return None
        text = output(pinned([program, "1"] + image["masks"]))
        return float(text.split()[0]) if text else None

    def potrace(self, image):
        if not shutil.which("potrace"):
            return None
        script = os.path.join(HERE, "peers", "potrace.sh")
        text = output(pinned([script, self.program("peer_potrace_timer.so")] + image["masks"]))
        return float(text) if text else None

    def vtracer(self, image, mode):
        text = output(pinned(["node", "vtracer.mjs", mode, str(image["width"]),
                              str(image["height"]), image["stem"] + ".rgba"]),
                      cwd=self.peers_folder)
        return float(text) if text else None

    def side_by_side(self):
        """{image: {tool: [ns a pixel, one a round]}} and the sizes of the images."""
        images = self.export()
        with_vtracer = install_vtracer(self.peers_folder)
        table = {image["name"]: {} for image in images}
        for turn in range(self.args.rounds):
            say(f"== side by side, round {turn + 1} of {self.args.rounds}")
            for image in images:
                nanoseconds = 1e9 / (image["width"] * image["height"])
                row = table[image["name"]]

                def add(tool, seconds):
                    if seconds is not None:
                        row.setdefault(tool, []).append(seconds * nanoseconds)

                colours = 2 if image["scan"] else 16
                for tool, environment in (("ztrace", {}), ("ztrace without AVX2",
                                                           {"ZTRACE_NO_AVX2": "1"})):
                    found = self.google("bench_trace", f"^trace/{image['name']}/{colours}$", 1,
                                        check=turn == 0, environment=environment,
                                        seconds=self.args.seconds)
                    for rows in found.values():
                        row.setdefault(tool, []).append(rows[0]["ns_per_pixel"])
                        if tool == "ztrace":
                            image["outlines"] = int(rows[0]["outlines"])
                            image["segments"] = int(rows[0]["segments"])
                found = self.google("bench_trace", f"^decode/{image['name']}/0$", 1,
                                    check=False, seconds=self.args.seconds)
                for rows in found.values():
                    row.setdefault("decoding", []).append(rows[0]["ns_per_pixel"])
                add("potrace", self.potrace(image))
                add("OpenCV", self.opencv(image))
                if with_vtracer:
                    for mode in VTRACER_MODES[image["scan"]]:
                        add(f"vtracer {mode}", self.vtracer(image, mode))
        facts = {image["name"]: {key: image.get(key) for key in ("width", "height", "scan",
                                                                 "outlines", "segments")}
                 for image in images}
        return table, facts

    def alone(self):
        """Stages, sizes, hard pictures, icons: {benchmark: [ns a pixel or seconds a call]}."""
        repetitions = self.args.rounds
        seconds = self.args.seconds
        found = {}
        say("== stages")
        found.update(self.google("bench_stages", ".", repetitions, seconds=seconds))
        say("== 256 colours, sizes, icons")
        found.update(self.google("bench_trace", "^(tiled/|icon/|trace/.*/256$)", repetitions,
                                 seconds=seconds))
        say("== hard pictures, in a stack of %d KiB" % (SMALL_STACK // 1024))
        found.update(self.google(
            "bench_trace", "^hard/", repetitions, seconds=seconds,
            preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_STACK,
                                                  (SMALL_STACK, SMALL_STACK))))
        return {name: {"ns_per_pixel": [row["ns_per_pixel"] for row in rows],
                       "ns": [row["ns_per_pixel"] * row["pixels"] for row in rows],
                       "pixels": rows[0]["pixels"]} for name, rows in found.items()}

    def memory(self):
        say("== memory")
        text = output([self.program("bench_memory"), "--json"], env=self.environment)
        return [json.loads(line) for line in (text or "").splitlines()]


def machine():
    facts = {"system": f"{platform.system()} {platform.release()} {platform.machine()}",
             "load": "%.2f %.2f %.2f" % os.getloadavg(), "processors": os.cpu_count()}
    with open("/proc/cpuinfo", encoding="utf-8") as stream:
        lines = [line.split(":", 1)[1].strip() for line in stream if line.startswith("model name")]
    facts["processor"] = lines[0] if lines else platform.processor()
    with open("/proc/meminfo", encoding="utf-8") as stream:
        facts["memory"] = "%.0f GiB" % (int(stream.readline().split()[1]) / 1024 ** 2)
    return facts


def package(name):
    text = output(["dpkg-query", "-W", "-f", "${Version}", name], stderr=subprocess.DEVNULL)
    return text or "-"


def versions():
    with open(os.path.join(HERE, "peers", "package.json"), encoding="utf-8") as stream:
        vtracer = json.load(stream)["dependencies"]
    git = ["git", "-C", HERE]
    changed = output(git + ["status", "--porcelain", "-uno"]) or ""
    return {"ztrace": first_line(git + ["rev-parse", "--short", "HEAD"])
                      + (" with changes" if changed.strip() else ""),
            "compiler": first_line(["c++", "--version"]),
            "Qt": package("libqt5core5a"), "benchmark library": package("libbenchmark-dev"),
            "potrace": package("potrace"), "OpenCV": package("libopencv-dev"),
            "vtracer": ", ".join(f"{key} {value}" for key, value in vtracer.items())
                       + ", node " + first_line(["node", "--version"])}


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", default="build/bench")
    parser.add_argument("--corpus", default=os.environ.get("ZTRACE_CORPUS", "build/corpus"))
    parser.add_argument("--out", default="build/bench/results.json")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--seconds", type=float, default=0.5, help="shortest run of a benchmark")
    args = parser.parse_args()

    runner = Runner(args)
    facts = machine()
    table, images = runner.side_by_side()
    numbers = {"date": datetime.date.today().isoformat(), "rounds": args.rounds,
               "machine": facts, "versions": versions(), "images": images, "traces": table,
               "alone": runner.alone(), "memory": runner.memory(), "failed": runner.failed}
    with open(args.out, "w", encoding="utf-8") as stream:
        json.dump(numbers, stream, indent=1)
    for text in runner.failed:
        say(f"failed: {text}")
    return 1 if runner.failed else 0


if __name__ == "__main__":
    sys.exit(main())
