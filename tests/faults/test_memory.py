# (c) the ztrace developers. Licence: see LICENSE.
"""Memory runs out while an input of any format is read and an output of any format is written: the drawing is what it
would have been, or nothing is there, the exit code is a documented one and one line says why. Never a signal."""
import os
import resource
import subprocess
import sys
import unittest

sys.path.insert(0, os.path.join(os.environ["ZTRACE_SOURCE_DIR"], "tests", "cli"))

from inputs import inputs
from support import PROGRAM, CommandTest

FAULTS = os.environ["ZTRACE_FAULTS"]
BLOCK = 2000  # bytes: images, tables and the text of drawings are in blocks of more
MOST_CALLS = 100000


class MemoryTest(CommandTest):
    def setUp(self):
        super().setUp()
        self.inputs = {name: self.write(name, data) for name, data in inputs().items()}
        self.mark = self.path("mark")
        os.mkdir(self.path("out"))

    def trace(self, source, target, limit=None, **faults):
        environment = {**os.environ, **{"FAULT_" + name.upper(): str(value) for name, value in faults.items()}}
        if faults:
            environment.update(LD_PRELOAD=FAULTS, FAULT_MARK=self.mark)
        return subprocess.run([PROGRAM, source, "-q", "-o", "out/a." + target], cwd=self.folder, env=environment,
                              stdin=subprocess.DEVNULL, capture_output=True, timeout=120,
                              preexec_fn=limit and (lambda: resource.setrlimit(resource.RLIMIT_AS, (limit, limit))))

    def clear(self):
        for name in os.listdir(self.path("out")):
            os.unlink(self.path("out/" + name))
        if os.path.exists(self.mark):
            os.unlink(self.mark)

    def check(self, result, target, whole):
        if result.returncode == 0:
            # Without its plug-ins, for which there was no memory, the toolkit may know less of the image, which is told.
            self.assertEqual(self.read("out/a." + target), whole)
            return
        self.assertIn(result.returncode, (1, 3, 4))
        self.assertRegex(result.stderr, rb"\Aztrace: [^\n]+\n\Z")
        self.assertEqual(os.listdir(self.path("out")), [])

    def each(self, source, target, step, **faults):
        self.clear()
        self.assertEqual(self.trace(source, target).returncode, 0)
        whole = self.read("out/a." + target)
        at = failed = 0
        while at < MOST_CALLS:
            at = step(at)
            self.clear()
            result = self.trace(source, target, kind="alloc", at=at, **faults)
            if not os.path.exists(self.mark):
                return failed
            failed += result.returncode != 0
            try:
                self.check(result, target, whole)
            except AssertionError as error:
                raise AssertionError("%s to %s, allocation %d: %s" % (source, target, at, result)) from error
        self.fail("the allocations do not end")


class Allocations(MemoryTest):
    def test_large_blocks_of_inputs(self):
        """Each once; of formats with fonts one in nine."""
        for name in self.inputs:
            hasFonts = name.startswith("svg")
            with self.subTest(name):
                failed = self.each(name, "svg", lambda at: at + 1 + (8 if hasFonts else 0), **{"from": name}, least=BLOCK)
                self.assertGreater(failed, 3)

    def test_large_blocks_of_outputs(self):
        for target in "svg", "dxf", "pdf", "png", "json":
            with self.subTest(target):
                self.assertGreater(self.each("json", target, lambda at: at + 1, FROM="json", least=BLOCK), 3)

    def test_any_blocks(self):
        for name in self.inputs:
            with self.subTest(name):
                self.each(name, "svg", lambda at: at + 1 + at // 3, **{"from": name})
        for target in "dxf", "pdf", "png", "json":
            with self.subTest(target):
                self.each("json", target, lambda at: at + 1 + at // 5, FROM="json")


class AddressSpace(MemoryTest):
    """A process that gets so much and no more, as services have it."""
    def test_inputs_and_outputs(self):
        pairs = [(name, "svg") for name in self.inputs] + [("json", target) for target in ("dxf", "pdf", "png", "json")]
        for source, target in pairs:
            with self.subTest(source=source, target=target):
                self.clear()
                self.assertEqual(self.trace(source, target).returncode, 0)
                whole = self.read("out/a." + target)
                codes = set()
                for megabytes in range(40, 400, 9):
                    self.clear()
                    result = self.trace(source, target, limit=megabytes << 20)
                    codes.add(result.returncode)
                    if result.returncode == 127 or b"error while loading shared" in result.stderr:
                        continue  # no room for the libraries: there is no program yet
                    try:
                        self.check(result, target, whole)
                    except AssertionError as error:
                        raise AssertionError("%s to %s, %d MB: %s" % (source, target, megabytes, result)) from error
                    if result.returncode == 0:
                        break
                self.assertIn(0, codes)


if __name__ == "__main__":
    unittest.main()
