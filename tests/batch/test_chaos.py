# (c) the ztrace developers. Licence: see LICENSE.
"""Everything at once: workers and runs that are killed, a disk that is full for a while, pictures that vanish and come
back, a clock that jumps. The merged result is that of an undisturbed run.

ZTRACE_CHAOS_PICTURES and ZTRACE_CHAOS_KILLS make it as large as wanted; it prints what it has done. The disk is full by
a preloaded library; with ZTRACE_CHAOS_BALLAST=1, for a TMPDIR of some hundred million bytes, it is filled indeed."""
import errno
import json
import os
import random
import shutil
import signal
import subprocess
import sys
import time
import unittest

from batchsupport import BatchTest, picture, untimed, workers_of
from support import PROGRAM, tiff

PICTURES = int(os.environ.get("ZTRACE_CHAOS_PICTURES", "300"))
KILLS = int(os.environ.get("ZTRACE_CHAOS_KILLS", "20"))
DISASTER = os.environ.get("ZTRACE_DISASTER")
BALLAST = os.environ.get("ZTRACE_CHAOS_BALLAST") == "1"
DIFFERENT = 200 # pictures; more are the same under other names
TURNS = 3 * KILLS // 2 # runs that end early, about
LINE = 700             # bytes of a result line, about


HANGS = 300 # seconds: far beyond what anything here takes


@unittest.skipUnless(DISASTER, "sanitizers have allocators of their own, which another preloaded library would come before")
class Chaos(BatchTest):
    def fill(self):
        """Nothing more can be written."""
        if not BALLAST:
            open(self.path("full"), "w").close()
            return
        with open(self.path("ballast"), "wb", buffering=0) as file:
            size = 1 << 20
            while size > 0:
                try:
                    file.write(bytes(size))
                except OSError as error:
                    self.assertEqual(error.errno, errno.ENOSPC)
                    size //= 2

    def make_room(self):
        for name in "full", "ballast":
            if os.path.exists(self.path(name)):
                os.remove(self.path(name))

    def lines_so_far(self):
        if not os.path.exists(self.path("out/ztrace-results.jsonl")):
            return 0
        with open(self.path("out/ztrace-results.jsonl"), "rb") as file:
            return sum(1 for _ in file)

    def wait_for_work(self, process, lines):
        """Until so many more pictures are finished, or the run has ended."""
        if lines <= 0:
            return
        name, limit = self.path("out/ztrace-results.jsonl"), time.monotonic() + 120
        size = os.path.getsize(name) if os.path.exists(name) else 0
        while process.poll() is None and time.monotonic() < limit:
            if os.path.exists(name) and os.path.getsize(name) >= size + lines * LINE:
                return
            time.sleep(0.002)

    def kill_workers(self, process, chance):
        for _ in range(chance.randrange(1, 4)):
            time.sleep(chance.uniform(0.01, 0.1))
            for worker in workers_of(process)[:1]:
                try:
                    os.kill(worker, signal.SIGKILL)
                    self.killed += 1
                except ProcessLookupError:
                    pass # it has ended by itself

    def run_until(self, environment, chance, death):
        process = subprocess.Popen([PROGRAM, "batch", "in", "--out", "out", "-j", "2", "-q"], cwd=self.folder,
                                   env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        name, away = self.path("in/p%05d.png" % chance.randrange(PICTURES)), self.path("away.png")
        try:
            time.sleep(chance.uniform(0.02, 0.1))
            left = PICTURES - self.lines_so_far()
            self.wait_for_work(process, min(left // 2, chance.randrange(2 * PICTURES // TURNS)))
            if death == "worker":
                self.kill_workers(process, chance)
                self.wait_for_work(process, chance.randrange(PICTURES // TURNS))
                process.terminate()
            elif death == "full":
                self.fill()
                self.filled += 1
                time.sleep(chance.uniform(0.0, 0.3))
                process.terminate()
            elif death == "vanish":
                os.rename(name, away)
                self.vanished += 1
                time.sleep(0.1)
                process.kill()
            else:
                self.killed += process.poll() is None # else it has ended by itself
                process.kill()
            process.communicate(timeout=600)
            if death == "full":
                self.assertIn(process.returncode, (0, 1, 4, -signal.SIGTERM))
                self.ended += process.returncode == 4
        finally:
            self.make_room()
            if os.path.exists(away):
                os.rename(away, name)
            process.kill()
            process.communicate()

    def test_the_result_is_that_of_an_undisturbed_run(self):
        for i in range(PICTURES):
            self.put("in/p%05d.png" % i, picture(i) if i < DIFFERENT else self.read("in/p%05d.png" % (i % DIFFERENT)))
        self.put("in/bad.png", b"nonsense")
        self.run_program("batch", "in", "--out", "right", "-q", code=1)
        chance = random.Random(3)
        environment = {**os.environ, "LD_PRELOAD": DISASTER, "DISASTER_CLOCK": "1", "DISASTER_SLOW": "1", "DISASTER_FULL": self.path("full")}
        self.killed = self.filled = self.ended = self.vanished = self.unfinished = 0
        kinds = ["worker", "run", "full", "vanish"]
        while self.killed < KILLS:
            self.run_until(environment, chance, kinds[0])
            kinds.append(kinds.pop(0))
            if self.lines_so_far() < PICTURES:
                self.unfinished += 1
        for _ in range(2): # the first may try again what was killed twice
            subprocess.run([PROGRAM, "batch", "in", "--out", "out", "-q", "--retry", "failed"], cwd=self.folder,
                           env=environment, capture_output=True, check=False)
        self.assertEqual(self.tree(), self.tree("right"))
        last, done = {}, []
        for text in self.read("out/ztrace-results.jsonl").splitlines():
            line = json.loads(text)
            last[line["path"]] = untimed(line)
            if line["outcome"] == "done":
                done.append(line["path"])
        right = {path: untimed(line) for (path, _), line in self.lines("right/ztrace-results.jsonl").items()}
        self.assertEqual(last, right)
        self.assertEqual(len(done), len(set(done)))
        self.assertEqual(len(done), PICTURES)
        self.assertGreater(self.unfinished, 0) # disasters among work
        print("%d pictures, %d killed, %d times full (%d runs ended by it), %d vanished, %d turns with work left"
              % (PICTURES, self.killed, self.filled, self.ended, self.vanished, self.unfinished), file=sys.stderr)

    def with_disaster(self, *arguments, **disaster):
        return subprocess.run([PROGRAM, "batch", "in", "--out", "out", "-j", "1", *arguments], cwd=self.folder, capture_output=True,
                              env={**os.environ, "LD_PRELOAD": DISASTER, **disaster}, check=False, timeout=HANGS)

    def test_a_worker_that_is_not_heard_is_replaced(self):
        self.pictures(6)
        self.run_program("batch", "in", "--out", "right")
        for look in range(1, 9):
            done = self.with_disaster(DISASTER_DEAF=str(look))
            self.assertEqual((done.returncode, self.tree()), (0, self.tree("right")), look)
            shutil.rmtree(self.path("out"))

    def test_the_end_of_a_worker_whose_socket_stays_open_is_seen(self):
        self.put("in/a.tif", tiff([lambda x, y: 5 < x < 20 < y]))
        self.write("end", b"")
        done = self.with_disaster(DISASTER_OPEN="1", DISASTER_END=self.path("end"))
        self.assertIn(b"1 done;", done.stderr)

    def test_a_program_that_reads_pages_does_not_hold_the_run(self):
        """What it leaves behind has nothing of the run's."""
        self.put("in/a.pdf", b"%PDF-1.4")
        self.put("bin/pdfinfo", b"#!/bin/sh\nls -l /proc/self/fd > fds\nexit 1\n")
        os.chmod(self.path("bin/pdfinfo"), 0o755)
        self.run_program("batch", "in", "--out", "out", code=1, environment={"PATH": self.path("bin") + ":" + os.environ["PATH"]})
        self.assertNotIn(b"socket", self.read("fds"))


if __name__ == "__main__":
    unittest.main()
