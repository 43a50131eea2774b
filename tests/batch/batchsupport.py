# (c) the ztrace developers. Licence: see LICENSE.
"""Helpers of the tests of runs over many pictures."""
import json
import os
import random
import subprocess

from support import BLACK, PROGRAM, WHITE, CommandTest, png


def picture(seed, size=48):
    """A PNG with a few black bars, different for every seed."""
    rows = random.Random(seed)
    bars = [(rows.randrange(size), rows.randrange(size), rows.randrange(4, 20), rows.randrange(3, 9)) for _ in range(4)]

    def pixel(x, y):
        return BLACK if any(l <= x < l + w and t <= y < t + h for l, t, w, h in bars) else WHITE
    return png(size, size, pixel)


class BatchTest(CommandTest):
    def put(self, name, data):
        os.makedirs(os.path.dirname(self.path(name)), exist_ok=True)
        return self.write(name, data)

    def pictures(self, count, folder="in"):
        for i in range(count):
            self.put("%s/p%04d.png" % (folder, i), picture(i))

    def batch(self, *arguments, code=0, stdin=b""):
        return self.run_program("batch", *arguments, "--out", "out", code=code, stdin=stdin)

    def start(self, *arguments, **more):
        return subprocess.Popen([PROGRAM, "batch", *arguments, "--out", "out"], cwd=self.folder,
                                stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, **more)

    def lines(self, name="out/ztrace-results.jsonl"):
        """Result lines by path and page; each picture is there once."""
        found = {}
        for text in self.read(name).splitlines():
            line = json.loads(text)
            key = line["path"], line["page"]
            assert key not in found, key
            found[key] = line
        return found

    def tree(self, folder="out"):
        """Contents of all files by their names, results left out."""
        found = {}
        for path, _, names in os.walk(os.fsencode(self.path(folder))):
            for name in names:
                if not name.startswith(b"ztrace-results"):
                    full = os.path.join(path, name)
                    with open(full, "rb") as file:
                        found[os.path.relpath(full, os.fsencode(self.path(folder)))] = file.read()
        return found


def workers_of(process):
    """Processes that the run has started."""
    found = []
    for name in os.listdir("/proc"):
        try:
            with open("/proc/%s/stat" % name) as file:
                fields = file.read().rsplit(")", 1)[1].split()
            if int(fields[1]) == process.pid and fields[0] != "Z":
                found.append(int(name))
        except (OSError, IndexError, ValueError):
            pass
    return found


def untimed(line):
    """A result line without what is of the moment."""
    return {name: value for name, value in line.items() if name not in ("seconds", "peak", "time", "attempts")}
