# (c) the ztrace developers. Licence: see LICENSE.
"""Help, man page, completions and the tables of the manual say what the table of options says."""
import os
import pty
import re
import shutil
import subprocess
import unittest

from support import PROGRAM, CommandTest

SOURCE = os.environ["ZTRACE_SOURCE_DIR"]
MANUALS = os.environ["ZTRACE_MANUALS"]
MADE = {"cli/man/ztrace.1": "man", "cli/completion/ztrace.bash": "bash", "cli/completion/_ztrace": "zsh",
        "docs/command.md": "markdown"}

# An interactive zsh whose first line is typed for it. What would be offered goes to a file, and then
# it ends. Calls of compadd that only ask what matches (-O, -A, -D) offer nothing.
ZSHRC = r"""
fpath=($COMPLETION_DIR $fpath)
autoload -Uz compinit && compinit -D -u
compadd() {
    if [[ ${@[1,(i)(-|--)]} != *-(O|A|D)\ * ]]; then
        local -a __offered
        builtin compadd -A __offered "$@"
        (( $#__offered )) && print -rl -- $__offered >> $OFFERED
    fi
    builtin compadd "$@"
}
capture() { _main_complete; compstate[list]= }
zle -C capture list-choices capture
typed() { BUFFER=$TYPED CURSOR=$#TYPED; zle capture; print done >> $OFFERED; exit 0 }
zle -N zle-line-init typed
"""


class Completion(CommandTest):
    def options(self):
        text = self.run_program("--help").stdout.decode()
        return set(re.findall(r"(?m)^  (?:-\w, )?(--[\w-]+)", text))

    def complete(self, *words):
        """What bash offers for the last word."""
        script = ('source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); compopt() { :; }; _ztrace; '
                  'printf "%s\\n" "${COMPREPLY[@]}"')
        result = subprocess.run(["bash", "-c", script, "bash", SOURCE + "/cli/completion/ztrace.bash", *words],
                                capture_output=True, check=True, cwd=self.folder)
        return set(result.stdout.decode().split("\n")) - {""}

    def test_bash_offers_all_options(self):
        self.assertEqual(self.complete(PROGRAM, "--"), self.options())
        self.assertEqual(self.complete(PROGRAM, "a.png", "--dxf"),
                         {"--dxf-curves", "--dxf-tolerance", "--dxf-join", "--dxf-version"})

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
        self.assertEqual(self.complete(PROGRAM, "bat"), {"batch"})

    def complete_in_zsh(self, line):
        """What zsh offers at the end of a line."""
        if not shutil.which("zsh"):
            self.skipTest("zsh is not installed")
        self.write(".zshrc", ZSHRC.encode())
        offered = self.write(".offered", b"")
        environment = {**os.environ, "ZDOTDIR": self.folder, "HOME": self.folder, "TERM": "dumb", "TYPED": line,
                       "OFFERED": offered, "COMPLETION_DIR": SOURCE + "/cli/completion",
                       "PATH": os.path.dirname(PROGRAM) + os.pathsep + os.environ["PATH"]}
        try:
            master, slave = pty.openpty()
        except OSError:
            self.skipTest("there are no pseudo-terminals here")
        try:
            subprocess.run(["zsh", "-d", "-i"], stdin=slave, stdout=slave, stderr=slave, start_new_session=True,
                           cwd=self.folder, env=environment, timeout=60, check=True)
        finally:
            os.close(slave)
            os.close(master)
        lines = self.read(".offered").decode().splitlines()
        self.assertEqual(lines[-1:], ["done"])
        return set(lines[:-1])

    def test_zsh_offers_all_options(self):
        self.assertEqual(self.complete_in_zsh("ztrace --"), self.options())
        self.assertEqual(self.complete_in_zsh("ztrace a.png --dxf-c"), {"--dxf-curves"})
        # What was given is not offered again, but for what may be given several times.
        given = self.complete_in_zsh("ztrace a.png -o a.svg -u mm --layers --only-color red --set blurradius=1 --")
        self.assertEqual(given, self.options() - {"--units", "--layers"})

    def test_zsh_offers_values(self):
        self.assertEqual(self.complete_in_zsh("ztrace -u "), {"px", "mm", "in"})
        self.assertEqual(self.complete_in_zsh("ztrace a.png --units=m"), {"mm"})
        self.assertEqual(self.complete_in_zsh("ztrace --preset p"), {"photo", "poster"})
        self.assertEqual(self.complete_in_zsh("ztrace --set blur"), {"blurradius=", "blurdelta="})
        self.assertEqual(self.complete_in_zsh("ztrace --colors "), set())

    def test_zsh_offers_files(self):
        for name in "scan.png", "brand.gpl", "page.toml":
            self.write(name, b"")
        self.assertEqual(self.complete_in_zsh("ztrace sc"), {"scan.png"})
        self.assertEqual(self.complete_in_zsh("ztrace pre"), {"presets"})
        self.assertEqual(self.complete_in_zsh("ztrace bat"), {"batch"})
        self.assertEqual(self.complete_in_zsh("ztrace -o sc"), {"scan.png"})
        self.assertEqual(self.complete_in_zsh("ztrace --palette="), {"brand.gpl"})
        self.assertEqual(self.complete_in_zsh("ztrace scan.png --config "), {"page.toml"})

    def test_both_offer_the_same_values(self):
        with open(SOURCE + "/cli/completion/_ztrace", encoding="utf-8") as file:
            listed = re.findall(r"(--[\w-]+)=[\[}].*:\(([^()$]+)\)'", file.read())
        self.assertGreater(len(listed), 8)
        for option, values in listed:
            self.assertEqual(set(values.split()), self.complete(PROGRAM, option, ""), option)

    def test_zsh_knows_all_options(self):
        with open(SOURCE + "/cli/completion/_ztrace", encoding="utf-8") as file:
            text = file.read()
        self.assertEqual(set(re.findall(r"(--[a-z][\w-]+)(?==?[\[}])", text)), self.options())

    def test_manuals_know_all_options(self):
        for name in "docs/command.md", "cli/man/ztrace.1":
            with open(os.path.join(SOURCE, name), encoding="utf-8") as file:
                text = file.read().replace("\\-", "-")
            missing = {option for option in self.options() if option not in text}
            self.assertEqual(missing, set(), name)

    def made(self, what, document=b""):
        return subprocess.run([MANUALS, what], input=document, capture_output=True, check=True).stdout.decode()

    def test_files_are_made_from_the_table(self):
        """scripts/update-manuals.sh makes them equal."""
        for name, what in MADE.items():
            with open(os.path.join(SOURCE, name), "rb") as file:
                text = file.read()
            with self.subTest(name):
                self.assertEqual(self.made(what, text), text.decode())

    def test_a_table_that_is_none(self):
        result = subprocess.run([MANUALS, "markdown"], input=b"<!-- table Nothing -->\n<!-- end -->\n", capture_output=True)
        self.assertEqual((result.returncode, result.stderr), (2, b'ztrace-manuals: there is no table "Nothing"\n'))
        self.assertEqual(subprocess.run([MANUALS], capture_output=True).returncode, 2)

    def test_the_manual_has_all_tables(self):
        with open(os.path.join(SOURCE, "docs/command.md"), encoding="utf-8") as file:
            text = file.read()
        groups = re.findall(r"(?m)^(\w[\w ]*):$", self.run_program("--help").stdout.decode())
        self.assertEqual(set(re.findall(r"<!-- table (.*) -->", text)), set(groups) - {"Examples"})

    def test_help_fits_the_terminal(self):
        longest = {}
        for columns in 40, 60, 80, 120, 500:
            text = self.run_program("--help", environment={"COLUMNS": str(columns)}).stdout.decode()
            longest[columns] = max(len(line) for line in text.splitlines() if line.count(" ") > 8)
            self.assertLessEqual(longest[columns], min(columns, 120))
            self.assertEqual(set(re.findall(r"(?m)^  (?:-\w, )?(--[\w-]+)", text)), self.options())
        self.assertGreater(longest[120], longest[80])
        plain = self.run_program("--help").stdout
        self.assertEqual(plain, self.run_program("--help", environment={"COLUMNS": "80"}).stdout)

    def test_engine_options_in_the_manuals(self):
        with open(SOURCE + "/engine/optiondefaults.h", encoding="utf-8") as file:
            names = re.findall(r'\{ "(\w+)", ', file.read())
        self.assertEqual(len(names), 12)
        for manual in "README.md", "docs/scripting.md":
            with open(os.path.join(SOURCE, manual), encoding="utf-8") as file:
                text = file.read()
            self.assertEqual([name for name in names if "| `%s` |" % name not in text], [], manual)

    def test_man_page_is_clean(self):
        if not shutil.which("groff"):
            self.skipTest("groff is not installed")
        for page in "cli/man/ztrace.1", "host/man/zelvora-headless.1":
            result = subprocess.run(["groff", "-man", "-Tascii", "-ww", os.path.join(SOURCE, page)], capture_output=True)
            self.assertEqual(result.stderr, b"", page)


if __name__ == "__main__":
    unittest.main()
