"""In a terminal: Ctrl-C, the progress line, and nothing else while the job runs."""

import os
import pty
import select
import shutil
import signal
import subprocess
import time
import unittest

from harness import CLIENT, QUILLON_REPORT, SystemTest
from launchers_test import IMPLEMENTATIONS, SOURCE


class Terminal(SystemTest):
    def in_terminal(self, *words, type_at=None, typed=b"\x03"):
        """Runs a program in a terminal of its own. `typed` is typed when `type_at` has been printed."""
        pid, terminal = pty.fork()
        if pid == 0:
            os.chdir(self.folder)
            os.execvpe(words[0], list(words), self.environment)
        output = b""
        deadline = time.monotonic() + 60
        while time.monotonic() < deadline:
            if not select.select([terminal], [], [], 0.1)[0]:
                continue
            try:
                data = os.read(terminal, 65536)
            except OSError:  # the terminal has no user any more
                break
            if not data:
                break
            output += data
            if type_at is not None and type_at in output:
                os.write(terminal, typed)
                type_at = None
        else:
            os.kill(pid, signal.SIGKILL)
        _, status = os.waitpid(pid, 0)
        os.close(terminal)
        return os.waitstatus_to_exitcode(status), output

    def test_interrupt(self):
        status, output = self.in_terminal(
            QUILLON_REPORT, "-o", "x.json", CLIENT, "spin", "0.3", "out", "ready", "spin", "60", type_at=b"ready"
        )
        self.assertEqual(status, 130, output)
        self.assertEqual(self.files(), ["x.json"])

    def test_interrupt_in_a_pipe(self):
        tool = subprocess.Popen(
            f"'{QUILLON_REPORT}' -o x.json '{CLIENT}' spin 0.3 out ready spin 60 | cat; exit ${{PIPESTATUS[0]}}",
            shell=True, executable="/bin/bash", cwd=self.folder, env=self.environment, start_new_session=True,
            stdout=subprocess.PIPE,
        )
        self.addCleanup(tool.stdout.close)
        self.addCleanup(tool.kill)
        self.assertEqual(tool.stdout.read(1), b"r")
        os.killpg(tool.pid, signal.SIGINT)
        tool.wait(60)
        deadline = time.monotonic() + 30  # the shell of the pipe may be gone before the tool
        while self.files() != ["x.json"] and time.monotonic() < deadline:
            time.sleep(0.1)
        self.assertEqual(self.files(), ["x.json"])

    def test_interrupt_of_ranks(self):
        self.environment.update(OMPI_ALLOW_RUN_AS_ROOT="1", OMPI_ALLOW_RUN_AS_ROOT_CONFIRM="1")
        for compiler, launchers in IMPLEMENTATIONS.items():
            if not shutil.which(compiler):
                continue
            with self.subTest(compiler=compiler):
                ranks = self.root / compiler
                subprocess.run([compiler, "-o", str(ranks), str(SOURCE)], check=True, capture_output=True)
                script = f"(sleep 3; echo re''ady) & exec '{QUILLON_REPORT}' -o {compiler}.json {launchers[0]} -n 2 {ranks} 60"
                status, output = self.in_terminal("/bin/sh", "-c", script, type_at=b"ready")
                self.assertEqual(status, 130, output)
                values = self.values(f"{compiler}.json")
                self.assertEqual(values["applicationDetails.processes.plain"], 2)

    def test_only_the_jobs_output_and_a_line_for_each_file(self):
        status, output = self.in_terminal(QUILLON_REPORT, "-o", "x.json", CLIENT, "out", "one", "spin", "0.3")
        self.assertEqual(status, 0)
        # A progress line may have been there for a moment, and is erased.
        self.assertTrue(output.startswith(b"one"), output)
        lines = output[3:].split(b"\x1b8\x1b[K")[-1]
        self.assertEqual(lines, b"quillon-report: wrote x.json\r\n")

    def test_progress_is_shown_and_erased(self):
        pipe = self.folder / "pipe.json"
        os.mkfifo(pipe)  # whoever writes to it waits until it is read
        reader = subprocess.Popen(
            ["/bin/sh", "-c", f"sleep 3; cat '{pipe}' > '{self.root}/copy'"], stdin=subprocess.DEVNULL
        )
        self.addCleanup(reader.wait)
        status, output = self.in_terminal(QUILLON_REPORT, "-o", "pipe.json", CLIENT, "spin", "0.3")
        self.assertEqual(status, 0, output)
        self.assertIn(b"\x1b7writing reports\x1b[K", output)
        self.assertEqual(output.rsplit(b"\x1b8\x1b[K", 1)[1], b"quillon-report: wrote pipe.json\r\n")

    def test_no_progress_where_nobody_wants_it(self):
        pipe = self.folder / "pipe.json"
        os.mkfifo(pipe)
        reader = subprocess.Popen(["/bin/sh", "-c", f"sleep 2; cat '{pipe}' > '{self.root}/copy'"])
        self.addCleanup(reader.wait)
        status, output = self.in_terminal(QUILLON_REPORT, "-q", "-o", "pipe.json", CLIENT, "spin", "0.2")
        self.assertEqual((status, output), (0, b""))


if __name__ == "__main__":
    unittest.main()
