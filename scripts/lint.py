#!/usr/bin/python3
# (c) the ztrace developers. Licence: see LICENSE.
"""Reads the product's sources with clang-tidy and the checks of .clang-tidy.

    scripts/lint.py            all of them
    scripts/lint.py FILE...    these

Prints what is found, and ends with 1 when there is something. Files are read side by side, one a
processor. A file is read again only when something has changed that its answer depends on: what
the preprocessor makes of it, comments included, its command, the checks, or the tool. build/lint
keeps an empty file for every answer without findings. Needs the compile commands of the preset dev.
"""
import concurrent.futures
import hashlib
import json
import os
import shlex
import subprocess
import sys
import time

FOLDERS = ("engine", "fit", "strokes", "imaging", "tracing", "drawing", "scripting", "plugin", "sdk",
           "host", "cli")
BUILD = "build/dev"
KNOWN = "build/lint"
DAYS = 30  # that an answer is kept which nobody asks for


def commands():
    """The compile command of every source of the product, by its path."""
    path = os.path.join(BUILD, "compile_commands.json")
    if not os.path.exists(path):
        subprocess.run(["cmake", "--preset", "dev"], check=True, stdout=subprocess.DEVNULL)
    with open(path, encoding="utf-8") as stream:
        entries = json.load(stream)
    result = {}
    for entry in entries:
        source = os.path.relpath(os.path.join(entry["directory"], entry["file"]))
        if source.split(os.sep)[0] in FOLDERS:
            result[source] = entry
    return result


def preprocessed(entry):
    """What the compiler sees, without the numbers of lines."""
    words = shlex.split(entry["command"])
    if os.path.basename(words[0]) == "ccache":
        del words[0]
    place = words.index("-o")
    del words[place:place + 2]
    words[words.index("-c")] = "-E"
    return subprocess.run(words + ["-P", "-C"], cwd=entry["directory"], check=True,
                          capture_output=True).stdout


class Lint:
    def __init__(self):
        version = subprocess.run(["clang-tidy", "--version"], check=True, capture_output=True)
        with open(".clang-tidy", "rb") as stream:
            self.rules = version.stdout + stream.read()
        os.makedirs(KNOWN, exist_ok=True)

    def key(self, source, entry):
        found = hashlib.sha256(self.rules)
        found.update(source.encode() + b"\0" + entry["command"].encode() + b"\0")
        found.update(preprocessed(entry))
        return os.path.join(KNOWN, found.hexdigest())

    def look(self, source, entry):
        """What clang-tidy says of a source; None where that is known to be nothing."""
        key = self.key(source, entry)
        if os.path.exists(key):
            os.utime(key)
            return None
        run = subprocess.run(["clang-tidy", "-p", BUILD, "--quiet", "--warnings-as-errors=*",
                              "--extra-arg=-Wno-unknown-warning-option", "--extra-arg=-std=c++17",
                              source], capture_output=True, text=True, check=False)
        if run.returncode == 0:
            with open(key, "wb"):
                return ""
        return run.stdout or run.stderr


def forget_old():
    oldest = time.time() - DAYS * 24 * 3600
    for entry in os.scandir(KNOWN):
        if entry.stat().st_mtime < oldest:
            os.remove(entry.path)


def main():
    wanted = [os.path.abspath(name) for name in sys.argv[1:]]
    os.chdir(os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
    wanted = [os.path.relpath(name) for name in wanted]
    known = commands()
    unknown = [name for name in wanted if name not in known]
    if unknown:
        sys.exit("lint.py: not compiled, or not of the product: " + " ".join(unknown))
    sources = {name: known[name] for name in wanted or sorted(known)}
    lint = Lint()
    forget_old()
    read, findings = 0, 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for said in pool.map(lint.look, sources.keys(), sources.values()):
            read += said is not None
            findings += bool(said)
            if said:
                print(said, flush=True)
    print(f"lint: {len(sources)} sources, {read} of them read, {findings} with findings")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
