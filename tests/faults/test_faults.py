# (c) the ztrace developers. Licence: see LICENSE.
"""Every call of the program to the system fails once, or is the program's last: what it leaves is whole, told and
clean. faults.cpp, preloaded, does it."""
import fcntl
import json
import os
import random
import resource
import select
import shutil
import signal
import struct
import subprocess
import sys
import unittest

sys.path.insert(0, os.path.join(os.environ["ZTRACE_SOURCE_DIR"], "tests", "cli"))

from support import PROGRAM, RED, WHITE, CommandTest, png, square

FAULTS = os.environ["ZTRACE_FAULTS"]
NAMES = ["new.dxf", "old.svg", "old.png", "folder/other.svg", "last.json"]
TEXTS = [name for name in NAMES if name != "old.png"]  # no plug-ins are looked for
OLD = {"old.svg": b"old 1", "old.png": b"old 2", "folder/other.svg": b"old 3", "last.json": b"old 4"}
MOST_CALLS = 2000  # more than any kind has; the first call that is not made ends a test
STAGE = {"FROM": "stage", "UNTIL": "fonts.conf"}  # which the toolkit reads at the end
WITHOUT = ["", "unnamed", "unnamed links", "links"]


def outputs(names):
    return [word for name in names for word in ("-o", name)]


class FaultTest(CommandTest):
    def setUp(self):
        super().setUp()
        self.image = self.write("a.png", png(16, 16, lambda x, y: RED if square(x, y, 4, 4, 8) else WHITE))
        self.outputs = self.path("out")
        self.mark = self.path("mark")
        os.makedirs(self.path("out/folder"))
        self.names = NAMES
        self.trace()
        self.whole = self.contents()
        self.assertEqual(sorted(self.whole), sorted(NAMES))

    def trace(self, *more, **faults):
        environment = {**os.environ, **{"FAULT_" + name.upper(): str(value) for name, value in faults.items()}}
        if faults:
            environment.update(LD_PRELOAD=FAULTS, FAULT_MARK=self.mark)
        return subprocess.run([PROGRAM, self.image, *outputs(self.names), *more], cwd=self.outputs, env=environment,
                              stdin=subprocess.DEVNULL, capture_output=True, timeout=60)

    def contents(self):
        found = {}
        for folder, _, names in os.walk(self.outputs):
            for name in names:
                path = os.path.join(folder, name)
                with open(path, "rb") as file:
                    found[os.path.relpath(path, self.outputs)] = file.read()
        return found

    def restore(self):
        for name in self.contents():
            os.unlink(os.path.join(self.outputs, name))
        for name in set(OLD) & set(self.names):
            with open(os.path.join(self.outputs, name), "wb") as file:
                file.write(OLD[name])
        if os.path.exists(self.mark):
            os.unlink(self.mark)
        return {name: OLD[name] for name in self.names if name in OLD}

    def of(self, contents):
        """The run's part of what all outputs would be."""
        return {name: data for name, data in contents.items() if name in self.names}

    def each_call(self, check, step=None, **faults):
        """Runs with the first call failing, then the second, until there is none; check(result, old contents)."""
        at = count = 0
        while at < MOST_CALLS:
            at = step(at) if step else at + 1
            old = self.restore()
            result = self.trace(at=at, **faults)
            if not os.path.exists(self.mark):
                self.assertEqual(result.returncode, 0, (faults, at, result.stderr))
                return count
            count += 1
            try:
                check(result, old)
            except AssertionError as error:
                raise AssertionError("%s, call %d: %s" % (faults, at, result)) from error
        self.fail("the calls do not end")

    def check_message(self, result):
        self.assertIn(result.returncode, (1, 2, 3, 4))
        self.assertRegex(result.stderr, rb"\Aztrace: [^\n]+\n\Z")
        self.assertNotRegex(result.stderr, rb"Success|Unknown|No error")

    def check_whole(self, result, old):
        """All is there, or nothing has changed and it is told."""
        if result.returncode == 0:
            self.assertEqual(self.contents(), self.of(self.whole))
            return
        self.check_message(result)
        # After the last name is given it can only be told that the folder is not on the disk.
        isGiven = b"; it is written, but" in result.stderr
        self.assertEqual(self.contents(), self.of(self.whole) if isGiven else old)

    def check_recovered(self):
        """Another run in any of the folders leaves outputs that belong together, and one in each cleans up."""
        def more(*names):
            subprocess.run([PROGRAM, self.image, *outputs(names)], cwd=self.outputs, check=True, capture_output=True)
            found = self.contents()
            for name in names:
                self.assertEqual(found.pop(name), self.whole["old.svg"])
                os.unlink(os.path.join(self.outputs, name))
            return found

        if len(self.names) == 1:
            return more("more.svg")
        some = self.of(more("more.svg"))
        self.assertEqual(more("more.svg", "folder/more.svg"), some)
        return some


class Faults(FaultTest):
    def each_kind(self, kinds, **faults):
        for kind, least in kinds.items():
            # One file goes another way than several; that it was there or not is asked once.
            for names in (NAMES, ["old.svg"]) if "without" in faults else (NAMES, ["old.svg"], ["new.dxf"]):
                self.names = names
                with self.subTest(kind=kind, names=len(names), **faults):
                    made = self.each_call(self.check_whole, kind=kind, **faults)
                    self.assertGreaterEqual(made, least if len(names) > 1 else min(least, 1))

    def test_contents(self):
        self.each_kind({"write": 5, "fsync": 5}, **STAGE)
        self.each_kind({"write": 1, "fsync": 1}, **STAGE, lasting=1)
        self.each_kind({"write": 8}, **STAGE, portion=1000)

    def test_folders_are_synced(self):
        """Before the first name is given, and after the last: a fault there is told each time."""
        told = set()

        def check(result, old):
            self.check_whole(result, old)
            self.assertEqual(result.returncode, 4)
            told.add(b"; it is written, but" in result.stderr)

        self.names = TEXTS
        made = self.each_call(check, kind="fsync", **STAGE)
        self.assertEqual(told, {False, True})
        # Four files, two records, two folders twice.
        self.assertEqual(made, 4 + 2 + 2 * 2)

    def test_close(self):
        self.each_kind({"close": 5}, **STAGE)

    def test_names(self):
        self.each_kind({"rename": 5, "link": 5}, **STAGE)

    def test_open(self):
        self.each_kind({"open": 5}, **STAGE)

    def test_stat(self):
        self.each_kind({"stat": 5}, FROM="a.png")

    def test_nothing_unnamed(self):
        for without in WITHOUT[1:]:
            self.each_kind({"write": 5, "fsync": 5, "rename": 5}, **STAGE, without=without)

    def test_unlink(self):
        """What cannot be removed is told, and the next run removes it."""
        def check(result, old):
            if result.returncode != 0:
                self.check_message(result)
                self.assertIn(b"could not be removed", result.stderr)
            self.assertIn(self.check_recovered(), (old, self.of(self.whole)))

        for names in TEXTS, ["old.svg"]:
            self.names = names
            for more in {}, {"lasting": 1}:
                self.each_call(check, kind="unlink", **STAGE, **more)


    def test_allocation(self):
        """Without the picture: the toolkit's painter is a matter of the test of little memory."""
        self.names = TEXTS
        faults = {"kind": "alloc", **STAGE}
        made = self.each_call(self.check_whole, step=lambda at: at + 1 + at // 8, **faults)
        self.assertGreater(made, 10)

    def test_batch(self):
        """A call that fails in the run and in its workers ends nothing in waiting, and loses nothing in silence."""
        folder = self.path("batch")
        kinds = [{"FAULT_KIND": kind}
                 for kind in ("write", "read", "open", "close", "fsync", "rename", "link", "stat")]
        # In the run, and in its worker; before that the process has not come to its first line.
        kinds += [{"FAULT_KIND": "alloc", "FAULT_FROM": name} for name in ("ztrace-results.jsonl", "a.png")]
        for kind in kinds:
            at = 0
            while at < MOST_CALLS:
                at += 1 if at < 8 else at // 4
                shutil.rmtree(folder, ignore_errors=True)
                self.restore()
                environment = {**os.environ, **kind, "FAULT_AT": str(at), "LD_PRELOAD": FAULTS,
                               "FAULT_MARK": self.mark}
                result = subprocess.run([PROGRAM, "batch", self.image, "--out", folder], env=environment,
                                        stdin=subprocess.DEVNULL, capture_output=True, timeout=60)
                with self.subTest((kind, at, result)):
                    self.check_batch(result, folder)
                if not os.path.exists(self.mark):
                    break

    def check_batch(self, result, folder):
        self.assertIn(result.returncode, (0, 1, 2, 3, 4))
        names = os.listdir(folder) if os.path.isdir(folder) else []
        for name in names:
            self.assertRegex(name, r"^(a\.svg|ztrace-[a-z.]+)$")
        if result.returncode != 0:
            self.assertIn(b"ztrace: ", result.stderr)
        else:
            self.assertIn("a.svg", names)
        texts = {"": result.stderr}
        for name in names:
            with open(os.path.join(folder, name), "rb") as file:
                texts[name] = file.read()
        for text in texts.values():
            self.assertNotRegex(text, rb"Success|Unknown error|No error")
        self.assertEqual(texts.get("a.svg", self.whole["old.svg"]), self.whole["old.svg"])

    def test_input(self):
        """An input that cannot be read, even in its middle, is no drawing."""
        side = 256
        rows = bytes(3 * side * side)
        self.image = self.write("a.bmp", b"BM" + struct.pack("<IIIIiiHHIIiiII", 54 + len(rows), 0, 54, 40, side, side, 1,
                                                             24, 0, len(rows), 0, 0, 0, 0) + rows)
        self.names = ["old.svg"]
        self.trace()
        self.whole["old.svg"] = self.contents()["old.svg"]
        for lasting in {}, {"lasting": 1}:
            made = self.each_call(self.check_whole, kind="read", FROM="a.bmp", UNTIL="fonts.conf", portion=50000,
                                  **lasting)
            self.assertGreater(made, 3)

    def test_report(self):
        """What standard output does not take is a failure, and no file is touched."""
        self.names = ["old.svg", "-"]
        old = self.restore()
        result = self.trace(kind="write", at=1, lasting=1, **STAGE)
        self.check_message(result)
        self.assertEqual(self.contents(), old)


class Kills(FaultTest):
    """The process ends at each call of the output stage."""

    def check(self, result, old):
        self.assertEqual(result.returncode, -9)
        for name, data in self.contents().items():
            if name in self.names:  # never a part of one
                self.assertIn(data, (old.get(name), self.whole[name]))
        self.assertIn(self.check_recovered(), (old, self.of(self.whole)))

    def test_kills(self):
        for without in WITHOUT:
            for names in TEXTS, ["old.svg"], ["new.dxf"]:
                self.names = names
                with self.subTest(without=without, names=len(names)):
                    self.each_call(self.check, kind="kill", **STAGE, without=without)

    def test_signals(self):
        """Those that would end it wait until the names are given."""
        for number in signal.SIGQUIT, signal.SIGXCPU, signal.SIGPIPE, signal.SIGTERM, signal.SIGUSR1:
            def check(result, old):
                self.assertIn(result.returncode, (0, -number))
                self.assertIn(self.contents(), (old, self.of(self.whole)))

            self.names = TEXTS
            with self.subTest(number):
                self.each_call(check, step=lambda at: at + 4, kind="kill", signal=int(number), **STAGE)


class Limits(FaultTest):
    """--time-limit ends a run wherever it is."""
    NOISE = ["--raw", "--set", "colorquantcycles=1e9", "--set", "mincolorratio=1", "--set", "numberofcolors=16"]

    def check_over(self, result, old):
        self.assertEqual((result.returncode, result.stderr), (5, b"ztrace: the time limit of 0.3 seconds is over\n"))
        self.assertEqual(self.contents(), old)

    def test_trace(self):
        random.seed(4)
        self.image = self.write("a.png", png(64, 64, lambda x, y: (*random.randbytes(3), 255)))
        self.check_over(self.trace("--time-limit", "0.3", *self.NOISE), self.restore())

    def test_input_that_never_comes(self):
        os.mkfifo(self.path("a.fifo"))
        self.image = self.path("a.fifo")
        self.check_over(self.trace("--time-limit", "0.3"), self.restore())

    def test_reader_that_never_reads(self):
        """Files get their names after what goes to pipes has gone there."""
        old = self.restore()
        os.mkfifo(os.path.join(self.outputs, "pipe.svg"))
        self.names = [*NAMES, "pipe.svg"]
        result = self.trace("--time-limit", "0.3")
        os.unlink(os.path.join(self.outputs, "pipe.svg"))
        self.check_over(result, old)

    def test_time_that_is_enough(self):
        self.restore()
        self.assertEqual(self.trace("--time-limit", "1000").returncode, 0)
        self.assertEqual(self.contents(), self.whole)

    def test_inherited_mask(self):
        """A parent that holds the signal back does not keep it away."""
        os.mkfifo(self.path("a.fifo"))
        result = subprocess.run([PROGRAM, self.path("a.fifo"), "-o", "old.svg", "--time-limit", "0.3"],
                                cwd=self.outputs, capture_output=True, timeout=60,
                                preexec_fn=lambda: signal.pthread_sigmask(signal.SIG_BLOCK, [signal.SIGALRM]))
        self.assertEqual(result.returncode, 5)

    def test_while_names_are_given(self):
        """The end waits until they are."""
        for without in WITHOUT:
            def check(result, old):
                self.assertEqual((result.returncode, result.stderr[:24]), (5, b"ztrace: the time limit o"))
                self.assertIn(self.contents(), (old, self.of(self.whole)))

            def trace(*more, **faults):
                return FaultTest.trace(self, "--time-limit", "1000", *more, **faults)

            self.names = TEXTS
            self.trace = trace
            with self.subTest(without=without):
                self.each_call(check, step=lambda at: at + 4, kind="kill", signal=int(signal.SIGALRM), **STAGE,
                               without=without)


class Surroundings(FaultTest):
    def test_little_memory(self):
        random.seed(3)
        pieces = [["Q"] + [round(random.uniform(0, 100), 3) for _ in range(4)] for _ in range(3000)]
        outline = {"layer": "a", "color": "#ff0000", "alpha": 255, "seam": 1.5, "start": [0, 0], "pieces": pieces}
        self.image = self.write("large.json", json.dumps(
            {"format": "ztrace drawing", "version": 1, "width": 100, "height": 100, "dpi": 96, "unit": "px",
             "outlines": [outline]}).encode())
        self.names = ["old.png"]
        self.restore()
        self.trace()
        self.whole = self.contents()
        codes = set()
        for megabytes in range(90, 190, 5):
            old = self.restore()
            limit = megabytes << 20
            result = subprocess.run([PROGRAM, self.image, "-o", "old.png"], cwd=self.outputs, capture_output=True,
                                    preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (limit, limit)))
            codes.add(result.returncode)
            self.assertIn(result.returncode, (0, 1, 4, 127), (megabytes, result))  # 127: no room for libraries
            self.assertEqual(self.contents(), self.whole if result.returncode == 0 else old)
        self.assertTrue({0, 1} <= codes, codes)

    def test_file_that_may_not_grow(self):
        old = self.restore()
        result = subprocess.run([PROGRAM, self.image, *outputs(NAMES)], cwd=self.outputs, capture_output=True,
                                preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (100, 100)))
        self.check_message(result)
        self.assertIn(b"File too large", result.stderr)
        self.assertEqual(self.contents(), old)

    def test_messages_that_may_not_grow(self):
        """Standard error in a full file takes neither the drawing nor the exit code with it."""
        for arguments, code in ([self.image, "-o", "-"], 0), (["missing.png", "-o", "-"], 3):
            self.write("out/messages", b"x" * 200)
            with open(os.path.join(self.outputs, "messages"), "ab") as messages:
                result = subprocess.run([PROGRAM, *arguments, "-f", "svg", "--stats"], cwd=self.outputs, stdout=subprocess.PIPE,
                                        stderr=messages,
                                        preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (100, 100)))
            # The statistics that stand there beside a drawing on standard output are lost.
            self.assertEqual(result.returncode, 4 if code == 0 else code, result)
            self.assertEqual(result.stdout.endswith(b"</svg>\n"), code == 0)

    def test_pipe_that_does_not_wait(self):
        wide = png(300, 300, lambda x, y: RED if (x // 2 + y // 2) % 2 else WHITE)
        self.write("out/wide.png", wide)
        command = [PROGRAM, "wide.png", "-p", "logo", "-f", "json", "-o", "-"]
        whole = subprocess.run(command, cwd=self.outputs, check=True, capture_output=True).stdout
        self.assertGreater(len(whole), 200000)
        end, start = os.pipe()
        fcntl.fcntl(start, fcntl.F_SETFL, os.O_NONBLOCK)
        process = subprocess.Popen(command, cwd=self.outputs, stdout=start)
        os.close(start)
        got = b""
        while True:
            select.select([end], [], [])
            more = os.read(end, 5000)
            if not more:
                break
            got += more
        os.close(end)
        self.assertEqual((process.wait(), got == whole), (0, True))

    def test_threads_that_are_refused(self):
        """The toolkit waits without an end for the work of a thread that it did not get."""
        self.image = self.write("wide.png", png(300, 300, lambda x, y: RED if (x // 20 + y // 20) % 2 else WHITE))
        for at in 1, 2, 3:
            for name in "old.svg", "old.png":
                self.names = [name]
                old = self.restore()
                environment = {**os.environ, "FAULT_KIND": "thread", "FAULT_AT": str(at), "FAULT_LASTING": "1", "LD_PRELOAD": FAULTS}
                result = subprocess.run([PROGRAM, self.image, "-p", "logo", "-o", name, "--overwrite"], cwd=self.outputs,
                                        env=environment, capture_output=True, timeout=60)
                self.assertIn(result.returncode, (0, 1))
                if result.returncode == 1:
                    self.assertIn(b"ztrace: QThread::start: Thread creation error", result.stderr)
                    self.assertEqual(self.contents(), old)

    def test_reader_that_has_gone(self):
        self.names = ["old.svg"]
        old = self.restore()
        end, start = os.pipe()
        os.close(end)
        result = subprocess.run([PROGRAM, self.image, "-o", "old.svg", "-f", "svg", "-o", "-"], cwd=self.outputs,
                                stdout=start, stderr=subprocess.PIPE)
        os.close(start)
        self.assertEqual((result.returncode, result.stderr), (4, b"ztrace: standard output: Broken pipe\n"))
        self.assertEqual(self.contents(), old)

    def test_rights_are_kept(self):
        self.restore()
        path = os.path.join(self.outputs, "old.svg")
        os.chmod(path, 0o640)
        if os.geteuid() == 0:
            os.chown(path, 12, 34)
        before = os.stat(path)
        self.trace()
        after = os.stat(path)
        self.assertEqual((before.st_mode, before.st_uid, before.st_gid), (after.st_mode, after.st_uid, after.st_gid))
        self.assertNotEqual(before.st_ino, after.st_ino)

    def test_attributes_are_kept(self):
        """The user's own, and the list of who may do what, where files have no name until the end and where not."""
        allowed = struct.pack("<I", 2) + b"".join(struct.pack("<HHI", *entry) for entry in (
            (1, 6, 0xffffffff), (2, 4, 12345), (4, 0, 0xffffffff), (16, 4, 0xffffffff), (32, 0, 0xffffffff)))
        kept = {"user.origin": b"a scan", "system.posix_acl_access": allowed}
        for names in ["old.svg"], TEXTS:
            for without in WITHOUT:
                self.names = names
                self.restore()
                path = os.path.join(self.outputs, "old.svg")
                try:
                    for name, value in kept.items():
                        os.setxattr(path, name, value)
                except OSError as error:
                    self.skipTest("no attributes here: %s" % error)
                self.trace(kind="none", without=without)
                self.assertEqual({name: os.getxattr(path, name) for name in os.listxattr(path)}, kept)
                self.assertEqual(os.stat(path).st_mode & 0o777, 0o640)

    def test_list_of_the_folder(self):
        """What a folder gives to new files is not given to one that replaces another."""
        self.names = ["old.svg"]
        self.restore()
        given = struct.pack("<I", 2) + b"".join(struct.pack("<HHI", *entry) for entry in (
            (1, 7, 0xffffffff), (2, 7, 12345), (4, 7, 0xffffffff), (16, 7, 0xffffffff), (32, 7, 0xffffffff)))
        path = os.path.join(self.outputs, "old.svg")
        os.chmod(path, 0o600)
        try:
            os.setxattr(self.outputs, "system.posix_acl_default", given)
        except OSError as error:
            self.skipTest("no lists here: %s" % error)
        self.trace()
        self.assertEqual((os.listxattr(path), os.stat(path).st_mode & 0o777), ([], 0o600))

    def test_links_in_a_circle(self):
        self.names = []
        self.restore()
        os.symlink("one.svg", os.path.join(self.outputs, "two.svg"))
        os.symlink("two.svg", os.path.join(self.outputs, "one.svg"))
        self.names = ["one.svg"]
        result = self.trace()
        self.assertEqual(result.returncode, 4)
        self.assertIn(b"symbolic links lead in a circle", result.stderr)

    def test_runs_at_the_same_time(self):
        """None takes the files of another for those of a killed one."""
        self.restore()
        processes = [subprocess.Popen([PROGRAM, self.image, *outputs(NAMES)], cwd=self.outputs) for _ in range(12)]
        self.assertEqual([process.wait() for process in processes], [0] * len(processes))
        self.assertEqual(self.contents(), self.whole)

    def test_sticky_folder(self):
        """In a sticky folder files of somebody else are not to be replaced, which leaves nothing behind."""
        if os.geteuid() != 0:
            self.skipTest("needs two users")
        old = self.restore()
        os.chmod(self.folder, 0o755)
        os.chmod(self.outputs, 0o1777)
        os.chmod(os.path.join(self.outputs, "old.svg"), 0o666)
        result = subprocess.run([PROGRAM, self.image, "-o", "new.dxf", "-o", "old.svg", "-o", "none.svg"],
                                cwd=self.outputs, capture_output=True, user=12345, group=12345)
        self.check_message(result)
        self.assertIn(b"old.svg: Operation not permitted", result.stderr)
        self.assertEqual(self.contents(), old)


if __name__ == "__main__":
    unittest.main()
