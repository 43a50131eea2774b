# (c) the ztrace developers. Licence: see LICENSE.
"""Scripts that are interrupted: their `finally` is run, and the host ends soon, with the documented exit code."""
import os
import random
import signal
import subprocess
import sys
import unittest

sys.path.insert(0, os.path.join(os.environ["ZTRACE_SOURCE_DIR"], "tests", "cli"))

from support import CommandTest, png

HOST = os.environ["ZTRACE_HEADLESS"]
PLUGINS = os.environ["ZTRACE_PLUGIN_FOLDER"]
LIMIT = "0.4"
TIME_IS_OVER = 7
HANGS = 100  # seconds after which a process is taken for one that never ends

# Work that no picture and no machine is through with. Every cycle draws colours anew, as none is frequent enough.
ENDLESS = "{colorquantcycles: 1e9, mincolorratio: 1, numberofcolors: 16}"
TRY = "print('begun'); try { %s } finally { print('finally'); new QImage(2, 2).save('saved.png') }"
PLACES = {
    "loop": TRY % "for (;;) ;",
    "loop in a call": TRY % "(function() { while (true) ; })()",
    "loop in a function's own call": TRY % "[2, 1].sort(function() { for (;;) ; })",
    "loop in an included file": TRY % "include('loop.js')",
    "trace": "var t = new ZTraceBitmap(); var o = " + ENDLESS + "; for (var n in o) t.setOption(n, o[n]);"
             + "var image = new QImage('noise.png');" + TRY % "t.trace(image)",
    "trace of a file": "var t = new ZTraceBitmap(); var o = " + ENDLESS + "; for (var n in o) t.setOption(n, o[n]);"
                       + TRY % "t.trace('noise.png')",
    "traceImage": TRY % ("traceImage('noise.png', {preset: 'photo', set: %s})" % ENDLESS),
    "traceImage of the engine alone": TRY % ("traceImage('noise.png', {raw: true, set: %s})" % ENDLESS),
}


class Interruption(CommandTest):
    def setUp(self):
        super().setUp()
        random.seed(1)
        self.write("noise.png", png(64, 64, lambda x, y: (*random.randbytes(3), 255)))
        self.write("loop.js", b"for (;;) ;")

    def start(self, script, *options, **streams):
        self.write("script.js", script.encode())
        process = subprocess.Popen([HOST, "--plugins", PLUGINS, *options, "script.js"], cwd=self.folder,
                                   **{"stdout": subprocess.PIPE, "stderr": subprocess.PIPE, **streams})
        self.addCleanup(process.kill)
        return process

    def started(self, script, *options):
        process = self.start(script, *options)
        self.assertEqual(process.stdout.readline(), b"begun\n")
        return process

    def end(self, process, code):
        out, error = process.communicate(timeout=HANGS)
        self.assertEqual(process.returncode, code, (out, error))
        return out.decode(), error.decode()

    def test_signals(self):
        for place, script in PLACES.items():
            for number in signal.SIGINT, signal.SIGTERM, signal.SIGHUP:
                with self.subTest(place=place, number=number):
                    process = self.started(script)
                    process.send_signal(number)
                    out, error = self.end(process, -number)
                    self.assertEqual(out, "finally\n")
                    self.assertRegex(error, r"\A\S+\.js:\d+: Error: The run was interrupted\.\n")
                    self.assertTrue(os.path.exists(self.path("saved.png")))
                    os.unlink(self.path("saved.png"))

    def test_time_limit(self):
        for place, script in PLACES.items():
            with self.subTest(place=place):
                out, error = self.end(self.start(script, "--time-limit", LIMIT), TIME_IS_OVER)
                self.assertEqual(out, "begun\nfinally\n")
                self.assertTrue(error.endswith("zelvora-headless: the time limit of 0.4 seconds is over\n"), error)

    def test_second_signal(self):
        """The script is in its `finally` then, and stays there."""
        process = self.started("print('begun'); try { for (;;) ; } finally { print('finally'); for (;;) ; }")
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.stdout.readline(), b"finally\n")
        process.send_signal(signal.SIGINT)
        self.assertEqual(self.end(process, -signal.SIGINT), ("", ""))

    def test_script_that_goes_on(self):
        """Some seconds later it ends all the same, by the first cause."""
        script = "print('begun'); for (;;) try { for (;;) ; } catch (e) { print(e.message) }"
        process = self.started(script)
        process.send_signal(signal.SIGTERM)
        self.assertEqual(self.end(process, -signal.SIGTERM), ("The run was interrupted.\n", ""))
        out, error = self.end(self.start(script, "--time-limit=" + LIMIT), TIME_IS_OVER)
        self.assertEqual(error, "zelvora-headless: the time limit of 0.4 seconds is over\n")

    def test_place_without_an_end(self):
        """No error gets there."""
        calls = "function f(n) { if (n > 0) { f(n - 1); f(n - 1); } } print('begun'); f(200)"
        process = self.started(calls)
        process.send_signal(signal.SIGINT)
        self.assertEqual(self.end(process, -signal.SIGINT), ("", ""))

    def test_code_of_the_script(self):
        process = self.started("print('begun'); try { for (;;) ; } catch (e) { quit(9) }")
        process.send_signal(signal.SIGINT)
        self.assertEqual(self.end(process, 9), ("", ""))

    def test_trace_after_the_interruption(self):
        """What is done in `finally` is done whole."""
        process = self.started(
            "var t = new ZTraceBitmap(); var image = new QImage('noise.png'); print('begun');"
            "try { for (;;) ; } finally { print(t.trace(image).length > 0, traceImage('noise.png').drawing.count() > 0) }")
        process.send_signal(signal.SIGINT)
        self.assertEqual(self.end(process, -signal.SIGINT)[0], "true true\n")

    def test_tracer_is_usable_afterwards(self):
        process = self.started(
            PLACES["trace"].replace("print('finally')",
                                    "t.setOption('colorquantcycles', 1); print(t.trace(image).length > 0)"))
        process.send_signal(signal.SIGINT)
        self.assertEqual(self.end(process, -signal.SIGINT)[0], "true\n")

    def test_reader_that_does_not_read(self):
        """The script waits for it within print()."""
        read, write = os.pipe()
        process = self.start(TRY % "for (;;) print('a line of a report that nobody reads')", "--time-limit", LIMIT,
                             stdout=write)
        os.close(write)
        error = process.stderr.read()
        process.stderr.close()
        process.wait(timeout=HANGS)
        os.close(read)
        self.assertEqual(process.returncode, TIME_IS_OVER)
        self.assertIn(b"Error: ", error)

    def test_ignored_signals_stay_so(self):
        """As started by nohup, or behind a shell's &."""
        command = "trap '' INT HUP; exec \"$@\""
        self.write("script.js", b"print('begun'); for (var i = 0; i < 3e7; ++i) ; print('ended')")
        process = subprocess.Popen(["sh", "-c", command, "sh", HOST, "--plugins", PLUGINS, "script.js"],
                                   cwd=self.folder, stdout=subprocess.PIPE)
        self.addCleanup(process.kill)
        self.assertEqual(process.stdout.readline(), b"begun\n")
        process.send_signal(signal.SIGINT)
        process.send_signal(signal.SIGHUP)
        self.assertEqual(process.communicate(timeout=HANGS)[0], b"ended\n")
        self.assertEqual(process.returncode, 0)

    def test_nothing_is_left_in_temporary_folders(self):
        folder = self.path("tmp")
        os.mkdir(folder)
        environment = {name: value for name, value in os.environ.items() if name != "XDG_RUNTIME_DIR"}
        process = self.start("print('begun'); for (;;) ;", env={**environment, "TMPDIR": folder})
        self.assertEqual(process.stdout.readline(), b"begun\n")
        process.kill()
        self.end(process, -signal.SIGKILL)
        self.assertEqual(os.listdir(folder), [])

    def test_limits_that_are_none(self):
        for limit in "-1", "x", "nan", "inf", "1e300", "":
            with self.subTest(limit=limit):
                _, error = self.end(self.start("", "--time-limit=" + limit), 2)
                self.assertTrue(error.startswith("zelvora-headless: no time limit: " + limit), error)
        self.assertEqual(self.end(self.start("print(1)", "--time-limit", "0"), 0), ("1\n", ""))


if __name__ == "__main__":
    unittest.main()
