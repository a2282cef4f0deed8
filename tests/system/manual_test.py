"""Manual pages and completions say what --help says."""

import os
import pathlib
import re
import shutil
import subprocess
import unittest

from harness import BIN, SystemTest

MANUAL = pathlib.Path(os.environ["QUILLON_MANUAL"])
PROGRAMS = ("quillon-report", "fern")


def unescaped(page):
    """The text of a manual page's source without its marks."""
    text = re.sub(r"\\f[BIR]", "", page)
    return text.replace("\\-", "-").replace("\\(aq", "'").replace("\\(ti", "~").replace("\\e", "\\")


class Manual(SystemTest):
    def made(self, program, suffix):
        return (MANUAL / f"{program}.{suffix}").read_text()

    def options(self, program):
        """Rows of the help: long name, short name or none, parameter or none."""
        help_text = self.run_program(str(BIN / program), "--help").stdout.decode()
        rows = re.findall(r"(?m)^  (?:-(\w), |    )--([\w-]+)(?:=(\S+))?", help_text)
        self.assertGreater(len(rows), 10)
        return [(name, short, parameter) for short, name, parameter in rows]

    def test_every_shown_option_is_in_all_of_them_and_no_other(self):
        for program in PROGRAMS:
            options = self.options(program)
            names = {name for name, _, _ in options}
            page = unescaped(self.made(program, 1)).split(".SH OPTIONS")[1].split(".SH EXAMPLES")[0]
            with self.subTest(program=program):
                self.assertEqual(set(re.findall(r"(?m)^(?:-\w, )?--([\w-]+)", page)), names)
                for name, short, parameter in options:
                    term = (f"-{short}, " if short else "") + f"--{name}" + (f"={parameter}" if parameter else "")
                    self.assertIn(f".TP\n{term}\n", page)
                fish = self.made(program, "fish")
                self.assertEqual(set(re.findall(r" -l ([\w-]+)", fish)), names)
                self.assertEqual(set(re.findall(r" -s (\w)", fish)), {short for _, short, _ in options if short})
                zsh = self.made(program, "zsh")
                self.assertEqual(set(re.findall(r"--([\w-]+)=?(?=[}'\[])", zsh)), names)
                bash = self.made(program, "bash")
                words = re.search(r'compgen -W "(-[^"]*)"', bash).group(1).split()
                self.assertEqual({word[2:] for word in words if word.startswith("--")}, names)

    def test_pages_are_set_without_warnings(self):
        if not shutil.which("groff"):
            self.skipTest("groff isn't installed")
        for program in PROGRAMS:
            page = MANUAL / f"{program}.1"
            result = self.run_program("groff", "-man", "-ww", "-Tutf8", "-rLL=80n", str(page))
            self.assertExit(result, 0)
            self.assertEqual(result.stderr, b"")
            text = re.sub(r"\x1b\[[0-9;]*m|.\x08", "", result.stdout.decode())
            for heading in ("NAME", "SYNOPSIS", "OPTIONS", "EXAMPLES", "EXIT STATUS", "ENVIRONMENT", "FILES"):
                self.assertIn(f"\n{heading}\n", text)

    def test_the_guide_names_no_option_that_is_not_there(self):
        guide = (pathlib.Path(__file__).parents[2] / "docs" / "user-guide.md").read_text()
        known = {name for program in PROGRAMS for name, _, _ in self.options(program)} | {"help", "type"}
        text = guide.split("## Launchers")[0] + guide.split("## Exit status")[1]
        self.assertLessEqual(set(re.findall(r"--([a-z][\w-]+)", text)), known)

    def complete(self, program, *words):
        """What bash offers for the last of the words."""
        script = (
            f'source "{MANUAL}/{program}.bash"; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); '
            f'_{program.replace("-", "_")}; printf "%s\\n" "${{COMPREPLY[@]}}"'
        )
        result = self.run_program("bash", "-c", script, "bash", program, *words)
        self.assertExit(result, 0)
        self.assertEqual(result.stderr, b"")
        return result.stdout.decode().split()

    def test_completion_in_bash(self):
        (self.folder / "notes.txt").touch()
        (self.folder / "run.fern").touch()
        self.assertEqual(self.complete("quillon-report", "--ou"), ["--output"])
        self.assertIn("-o", self.complete("quillon-report", "-"))
        self.assertEqual(self.complete("quillon-report", "-o", "no"), ["notes.txt"])
        self.assertEqual(self.complete("quillon-report", "--output", "=", "no"), ["notes.txt"])
        self.assertIn("rss", self.complete("quillon-report", "--disable-metrics", ""))
        self.assertEqual(self.complete("fern", "--disable-metrics", "=", "load_avg,rs"), ["load_avg,rss"])
        self.assertEqual(self.complete("fern", "--samples", ""), [])
        self.assertIn("run.fern", self.complete("quillon-report", "run"))
        self.assertEqual(self.complete("quillon-report", "run.fern", "--output", "not"), ["notes.txt"])
        # Behind the program's name the words are its own.
        self.assertEqual(self.complete("quillon-report", "./prog", "--ou"), [])
        self.assertEqual(self.complete("quillon-report", "-v", "./prog", "no"), ["notes.txt"])
        self.assertEqual(self.complete("quillon-report", "--", "./prog", "no"), ["notes.txt"])

    def test_completions_are_well_formed(self):
        for shell, suffix in (("bash", "bash"), ("zsh", "zsh"), ("fish", "fish")):
            if not shutil.which(shell):
                continue
            for program in PROGRAMS:
                subprocess.run([shell, "-n", str(MANUAL / f"{program}.{suffix}")], check=True)


if __name__ == "__main__":
    unittest.main()
