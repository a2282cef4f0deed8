"""What the system tests share: a folder of its own for each test, and the programs to drive."""

import json
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

BIN = pathlib.Path(os.environ["QUILLON_BIN"])
CLIENT = os.environ["QUILLON_CLIENT"]
QUILLON_REPORT = str(BIN / "quillon-report")
FERN = str(BIN / "fern")


class SystemTest(unittest.TestCase):
    """Runs each test in an empty folder, with a folder for temporary files and a home beside it."""

    def setUp(self):
        self.root = pathlib.Path(tempfile.mkdtemp(prefix="quillon-test-"))
        self.addCleanup(shutil.rmtree, self.root)
        self.folder = self.root / "work"
        self.temporary = self.root / "tmp"
        for folder in (self.folder, self.temporary, self.root / "home"):
            folder.mkdir()
        self.environment = {
            name: value
            for name, value in os.environ.items()
            if not name.startswith(("KELP_", "FERN_", "BRIVANE_", "XDG_"))
        }
        self.environment.update(
            HOME=str(self.root / "home"), TMPDIR=str(self.temporary), LC_ALL="C.UTF-8"
        )
        # A build with sanitizers says nothing about leaks that it is told to pass over.
        self.environment["LSAN_OPTIONS"] = os.environ.get("LSAN_OPTIONS", "") + ":print_suppressions=0"

    def run_program(self, *words, stdin=b"", **variables):
        """Runs a program to its end; its output and messages are bytes."""
        return subprocess.run(
            words,
            cwd=self.folder,
            env={**self.environment, **variables},
            input=stdin,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            timeout=120,
            check=False,
        )

    def start_program(self, *words, **options):
        """Starts a program that is killed at the end of the test if it is still there."""
        process = subprocess.Popen(
            words,
            cwd=self.folder,
            env=self.environment,
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            **options,
        )
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.stderr.close)
        return process

    def quillon_report(self, *words, **options):
        return self.run_program(QUILLON_REPORT, *words, **options)

    def fern(self, *words, **options):
        return self.run_program(FERN, *words, **options)

    def files(self):
        """The names of all files in the working folder."""
        return sorted(str(p.relative_to(self.folder)) for p in self.folder.rglob("*") if p.is_file())

    def values(self, name):
        """The values of a JSON report by metric id."""

        def flatten(prefix, value):
            if not isinstance(value, dict):
                return {prefix: value}
            result = {}
            for key, member in value.items():
                result.update(flatten(f"{prefix}.{key}" if prefix else key, member))
            return result

        return flatten("", json.loads((self.folder / name).read_text())["data"])

    def assertExit(self, result, status):
        self.assertEqual(result.returncode, status, result.stderr.decode(errors="replace"))
