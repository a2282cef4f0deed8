"""Signals are the job's, and a job that is killed has a report of what it did."""

import os
import signal
import unittest

from harness import CLIENT, QUILLON_REPORT, SystemTest


class Signals(SystemTest):
    def start(self, *words, **options):
        job = self.start_program(QUILLON_REPORT, "-q", "-o", "x.json", CLIENT, *words, **options)
        self.assertEqual(job.stdout.read(5), b"ready")
        return job

    def assertEnds(self, job, status):
        self.assertEqual(job.wait(60), status, job.stderr.read())
        self.assertEqual(self.files(), ["x.json"])

    def test_killed_half_way(self):
        result = self.quillon_report("-q", "-o", "x.json", CLIENT, "spin", "1.5", "raise", str(int(signal.SIGKILL)))
        self.assertExit(result, 128 + signal.SIGKILL)
        self.assertEqual(result.stderr, b"")
        values = self.values("x.json")
        self.assertGreater(float(values["overview.cpu.percent"]), 90)
        self.assertEqual(int(values["applicationDetails.time.plain"]), 2)

    def test_crash(self):
        result = self.quillon_report("-o", "x.json", CLIENT, "spin", "0.3", "raise", str(int(signal.SIGSEGV)))
        self.assertExit(result, 128 + signal.SIGSEGV)
        self.assertEqual(self.files(), ["x.json"])

    def test_interrupt_from_the_terminal_ends_the_job_alone(self):
        job = self.start("spin", "0.3", "out", "ready", "spin", "60", start_new_session=True)
        os.killpg(job.pid, signal.SIGINT)
        self.assertEnds(job, 128 + signal.SIGINT)

    def test_interrupt_that_the_job_handles(self):
        job = self.start("catch", "2", "7", "spin", "0.3", "out", "ready", "spin", "60", start_new_session=True)
        os.killpg(job.pid, signal.SIGINT)
        self.assertEnds(job, 7)

    def test_terminate_and_hangup_are_passed_on(self):
        for number in (signal.SIGTERM, signal.SIGHUP):
            with self.subTest(number=number):
                job = self.start("catch", str(int(number)), "8", "out", "ready", "spin", "60")
                job.send_signal(number)
                self.assertEnds(job, 8)

    def test_hangup_that_was_ignored_stays_so(self):
        job = self.start(
            "out", "ready", "spin", "1", preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN)
        )
        job.send_signal(signal.SIGHUP)
        self.assertEnds(job, 0)

    def test_children_that_nobody_waits_for(self):
        job = self.start(
            "out", "ready", "exit", "6", preexec_fn=lambda: signal.signal(signal.SIGCHLD, signal.SIG_IGN)
        )
        self.assertEnds(job, 6)


if __name__ == "__main__":
    unittest.main()
