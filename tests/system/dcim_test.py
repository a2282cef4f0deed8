"""The monitoring export, from the command line to the tool's exit status."""

import os
import signal
import sqlite3
import subprocess
import time
import unittest

from harness import CLIENT, QUILLON_REPORT, SystemTest

CONNECTOR = """#!/bin/sh
printf '%s\\n' "$@" >sent
echo 'to the output'
echo 'to the messages' >&2
{commands}
"""


class Dcim(SystemTest):
    def connector(self, commands=""):
        """Writes down a connector that records its arguments, and does what `commands` say."""
        path = self.folder / "connector"
        path.write_text(CONNECTOR.format(commands=commands))
        path.chmod(0o755)
        return str(path)

    def report(self, connector, *words, **variables):
        return self.quillon_report("--dcim-output", *words, FERN_DCIM_SCRIPT=connector, **variables)

    def sent(self):
        return (self.folder / "sent").read_text().splitlines()

    def test_metrics_and_report(self):
        result = self.report(self.connector(), "-o", "x.json", CLIENT, "spin", "0.5", "exit", "5")
        self.assertExit(result, 5)
        self.assertIn("-tcom.brivane.overview.cpu.percent=double", self.sent())
        self.assertIn("-Vcom.brivane.application.processes=1", self.sent())
        self.assertEqual(self.values("x.json")["applicationDetails.exeName"], "system-client")
        self.assertEqual(
            result.stderr.decode(), "quillon-report: to the messages\nquillon-report: wrote x.json\n"
        )

    def test_nothing_is_sent_unless_asked_for(self):
        self.assertExit(self.quillon_report("-o", "/dev/null", CLIENT, FERN_DCIM_SCRIPT=self.connector()), 0)
        self.assertEqual(self.files(), ["connector"])

    def test_metrics_without_report(self):
        self.assertExit(self.report(self.connector(), "-o", "/dev/null", CLIENT), 0)
        self.assertEqual(self.files(), ["connector", "sent"])

    def test_output_of_the_connector_is_shown_when_verbose(self):
        connector = self.connector()
        result = self.report(connector, "-v", "-o", "/dev/null", CLIENT)
        self.assertExit(result, 0)
        for line in ("to the output", "to the messages", f"metrics sent to DCIM script {connector} successfully"):
            self.assertIn(f"quillon-report: {line}\n", result.stderr.decode())

    def test_exit_code_of_the_connector_ends_the_tool(self):
        connector = self.connector("exit 3")
        result = self.report(connector, "-o", "x.json", CLIENT, "exit", "5")
        self.assertExit(result, 3)
        self.assertIn(f"quillon-report: {connector} exited with error code 3. Abort.\n", result.stderr.decode())
        # What the job took hours for isn't lost.
        self.assertEqual(self.values("x.json")["applicationDetails.exeName"], "system-client")

    def test_connector_killed_by_a_signal(self):
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGKILL):
            with self.subTest(signal=number.name):
                result = self.report(self.connector(f"kill -{int(number)} $$"), "-o", "/dev/null", CLIENT)
                self.assertExit(result, int(number))
                self.assertIn(f"exited with error code {int(number)}. Abort.\n", result.stderr.decode())

    def test_connector_that_cannot_be_run(self):
        plain = self.folder / "plain"
        plain.write_text("no program")
        for connector, reason in (
            ("/nonesuch", "File not found"),
            ("", "File not found"),
            (str(self.folder), "Is not a file"),
            (str(plain), "Permission denied"),
        ):
            with self.subTest(connector=connector):
                result = self.report(connector, "-o", "/dev/null", CLIENT)
                self.assertExit(result, 255)
                self.assertEqual(
                    result.stderr.decode(), f"quillon-report: Cannot execute {connector}. {reason}. Abort.\n"
                )

    def test_first_variable_decides_even_if_empty(self):
        result = self.quillon_report(
            "--dcim-output", "-o", "/dev/null", CLIENT,
            KELP_DCIM_SCRIPT="", BRIVANE_DCIM_SCRIPT=self.connector(),
        )
        self.assertExit(result, 255)
        self.assertEqual(result.stderr, b"quillon-report: Cannot execute . File not found. Abort.\n")

    def test_profile_file_only_where_it_is_allowed(self):
        self.assertExit(self.fern("-o", "x.fern", CLIENT, "spin", "0.3"), 0)
        result = self.report(self.connector(), "-o", "x.json", "x.fern")
        self.assertExit(result, 2)
        self.assertIn(b"both --dcim-output and .fern file are specified", result.stderr)
        self.assertNotIn("sent", self.files())

        self.assertExit(self.report(self.connector(), "-o", "x.json", "x.fern", BRIVANE_FERN_TO_DCIM="1"), 0)
        self.assertIn("-Vcom.brivane.application.processes=1", self.sent())

    def test_version_of_a_profile_is_not_looked_at_where_no_report_is_written(self):
        self.assertExit(self.fern("-o", "old.fern", CLIENT), 0)
        with sqlite3.connect(self.folder / "old.fern") as database:
            database.execute("PRAGMA user_version = 1")
        database.close()
        result = self.report(self.connector(), "-o", "/dev/null", "old.fern", BRIVANE_FERN_TO_DCIM="1")
        self.assertExit(result, 0)
        self.assertIn("sent", self.files())

        result = self.report(self.connector(), "-o", "x.json", "old.fern", BRIVANE_FERN_TO_DCIM="1")
        self.assertExit(result, 1)
        self.assertIn(b"Only FERN files created by version 5.0 or later", result.stderr)

    def test_interrupt_while_the_connector_hangs(self):
        self.environment["FERN_DCIM_SCRIPT"] = self.connector("echo $$ >pid; exec sleep 1000")
        tool = self.start_program(
            QUILLON_REPORT, "--dcim-output", "-o", "/dev/null", CLIENT, start_new_session=True
        )
        pid = self.folder / "pid"
        deadline = time.monotonic() + 30
        while not pid.exists() or not pid.read_text().endswith("\n"):
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.05)
        connector = int(pid.read_text())
        os.killpg(tool.pid, signal.SIGINT)
        self.assertIn(tool.wait(timeout=30), (-signal.SIGINT, 128 + signal.SIGINT, signal.SIGINT))
        while self.is_running(connector):
            self.assertLess(time.monotonic(), deadline, "the connector goes on")
            time.sleep(0.05)

    @staticmethod
    def is_running(pid):
        state = subprocess.run(["ps", "-o", "stat=", "-p", str(pid)], stdout=subprocess.PIPE, check=False)
        return state.returncode == 0 and not state.stdout.startswith(b"Z")


if __name__ == "__main__":
    unittest.main()
