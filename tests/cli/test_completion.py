# (c) the ztrace developers. Licence: see LICENSE.
"""Completion knows every option of --help, and so do the manual and the man page."""
import os
import re
import shutil
import subprocess
import unittest

from support import PROGRAM, CommandTest

SOURCE = os.environ["ZTRACE_SOURCE_DIR"]


class Completion(CommandTest):
    def options(self):
        text = self.run_program("--help").stdout.decode()
        return set(re.findall(r"(?m)^  (?:-\w,)?(--[\w-]+)", text))

    def complete(self, *words):
        """What bash offers for the last word."""
        script = ('source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); compopt() { :; }; _ztrace; '
                  'printf "%s\\n" "${COMPREPLY[@]}"')
        result = subprocess.run(["bash", "-c", script, "bash", SOURCE + "/cli/completion/ztrace.bash", *words],
                                capture_output=True, check=True, cwd=self.folder)
        return set(result.stdout.decode().split("\n")) - {""}

    def test_bash_offers_all_options(self):
        self.assertEqual(self.complete(PROGRAM, "--"), self.options())
        self.assertEqual(self.complete(PROGRAM, "a.png", "--dxf"), {"--dxf-curves", "--dxf-tolerance", "--dxf-version"})

    def test_bash_offers_values(self):
        self.assertEqual(self.complete(PROGRAM, "-u", ""), {"px", "mm", "in"})
        self.assertEqual(self.complete(PROGRAM, "--units", "=", "m"), {"mm"})
        self.assertEqual(self.complete(PROGRAM, "--preset", "p"), {"photo", "poster"})
        self.assertEqual(self.complete(PROGRAM, "--set", "blur"), {"blurradius=", "blurdelta="})
        self.assertEqual(self.complete(PROGRAM, "--colors", ""), set())

    def test_bash_offers_files(self):
        self.write("scan.png", b"")
        self.assertEqual(self.complete(PROGRAM, "sc"), {"scan.png"})
        self.assertEqual(self.complete(PROGRAM, "-o", "sc"), {"scan.png"})
        self.assertEqual(self.complete(PROGRAM, "pre"), {"presets"})

    def test_zsh_knows_all_options(self):
        with open(SOURCE + "/cli/completion/_ztrace", encoding="utf-8") as file:
            text = file.read()
        self.assertEqual(set(re.findall(r"(--[a-z][\w-]+)(?==?[\[}])", text)), self.options())
        if shutil.which("zsh"):
            subprocess.run(["zsh", "-n", SOURCE + "/cli/completion/_ztrace"], check=True)

    def test_manuals_know_all_options(self):
        for name in "docs/command.md", "cli/man/ztrace.1":
            with open(os.path.join(SOURCE, name), encoding="utf-8") as file:
                text = file.read().replace("\\-", "-")
            missing = {option for option in self.options() if option not in text}
            self.assertEqual(missing, set(), name)

    def test_the_man_page_says_what_help_says(self):
        help_text = self.run_program("--help").stdout.decode()
        with open(os.path.join(SOURCE, "cli/man/ztrace.1"), encoding="utf-8") as file:
            page = " ".join(file.read().replace("\\-", "-").replace("\\(aq", "'").split())
        told = re.findall(r"(?m)^  (?:-\w,)?--[\w-]+(?: [A-Z][\w|=]*| N\|[\w|]+)?  +(\S.*)$", help_text)
        self.assertGreater(len(told), 30)
        self.assertEqual([text for text in told if " ".join(text.split()) not in page], [])

    def test_man_page_is_clean(self):
        if not shutil.which("groff"):
            self.skipTest("groff is not installed")
        result = subprocess.run(["groff", "-man", "-Tascii", "-ww", SOURCE + "/cli/man/ztrace.1"], capture_output=True)
        self.assertEqual(result.stderr, b"")


if __name__ == "__main__":
    unittest.main()
