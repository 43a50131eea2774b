# (c) the ztrace developers. Licence: see LICENSE.
"""Everything at once: workers and runs that are killed, a disk that is full for a while, pictures that vanish and come
back, a clock that jumps. The merged result is that of an undisturbed run.

ZTRACE_CHAOS_PICTURES and ZTRACE_CHAOS_KILLS make it as large as wanted; it prints what it has done."""
import json
import os
import random
import signal
import subprocess
import sys
import time
import unittest

from batchsupport import BatchTest, picture, untimed, workers_of
from support import PROGRAM

PICTURES = int(os.environ.get("ZTRACE_CHAOS_PICTURES", "300"))
KILLS = int(os.environ.get("ZTRACE_CHAOS_KILLS", "20"))
DISASTER = os.environ.get("ZTRACE_DISASTER")
DIFFERENT = 200 # pictures; more are the same under other names


@unittest.skipUnless(DISASTER, "sanitizers have allocators of their own, which another preloaded library would come before")
class Chaos(BatchTest):
    def run_to_its_end_or_death(self, environment, chance, death):
        process = subprocess.Popen([PROGRAM, "batch", "in", "--out", "out", "-j", "2", "-q"], cwd=self.folder,
                                   env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        full, away = self.path("full"), self.path("away.png")
        try:
            end = time.monotonic() + chance.uniform(0.05, 0.6)
            while death == "worker" and process.poll() is None and time.monotonic() < end + 1:
                time.sleep(chance.uniform(0.05, 0.3))
                for worker in workers_of(process)[:1]:
                    try:
                        os.kill(worker, signal.SIGKILL)
                        self.killed += 1
                    except ProcessLookupError:
                        pass # it has ended by itself
                if time.monotonic() > end:
                    break
            if death == "full":
                time.sleep(chance.uniform(0.02, 0.3))
                open(full, "w").close()
                self.filled += 1
            if death == "vanish":
                name = self.path("in/p%05d.png" % chance.randrange(PICTURES))
                os.rename(name, away)
                self.vanished += 1
                time.sleep(0.3)
            if death == "run":
                time.sleep(chance.uniform(0.05, 0.5))
                process.kill()
                self.killed += 1
            elif death == "vanish":
                process.kill()
            process.communicate(timeout=600)
            if death == "full":
                self.assertIn(process.returncode, (0, 1, 4))
        finally:
            if os.path.exists(full):
                os.remove(full)
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
        environment = {**os.environ, "LD_PRELOAD": DISASTER, "DISASTER_CLOCK": "1", "DISASTER_FULL": self.path("full")}
        self.killed = self.filled = self.vanished = 0
        kinds = ["worker", "run", "full", "vanish"]
        while self.killed < KILLS:
            self.run_to_its_end_or_death(environment, chance, kinds[0])
            kinds.append(kinds.pop(0))
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
        print("%d pictures, %d killed, %d times full, %d vanished" % (PICTURES, self.killed, self.filled, self.vanished),
              file=sys.stderr)


if __name__ == "__main__":
    unittest.main()
