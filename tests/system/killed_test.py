"""A job that is killed at any moment has a report of all that it did but for the last bin."""

import os
import random
import signal
import sqlite3
import unittest

from harness import CLIENT, SystemTest

KILLS = int(os.environ.get("QUILLON_KILLS", "20"))
BIN = 20  # ms, for the first 20 seconds of a run
# How late a timer may wake the sampling thread, in ms.
LATE = 60
# How often a job is killed anew whose sampling thread was waiting for a processor: nobody can say when it would have
# looked if other programs had left it one.
TRIES = 20


class Killed(SystemTest):
    def kill_after(self, moment):
        """Kills a job that has computed for some seconds. Returns whether its sampling thread slept then, and how long
        the profile is and how much of it is computing, in milliseconds."""
        job = self.fern(
            "-q", "-o", "x.fern", CLIENT, "spin", str(moment), "threads", "raise", str(int(signal.SIGKILL))
        )
        try:
            self.assertExit(job, 128 + signal.SIGKILL)
            self.assertEqual(self.files(), ["x.fern"])
            with sqlite3.connect(self.folder / "x.fern") as profile:
                (end,) = profile.execute("SELECT max(end_ms) FROM sample").fetchone()
                (computing,) = profile.execute("SELECT sum(main) / 10 FROM hit WHERE category = 0").fetchone()
            profile.close()
            report = self.quillon_report("-q", "-o", "x.json", "x.fern")
            self.assertExit(report, 0)
            self.assertEqual(self.values("x.json")["overview.cpu.percent"], 100)
        finally:
            for file in self.files():
                (self.folder / file).unlink()
        return job.stdout == b"S\n", end, computing

    def test_killed_at_random_moments(self):
        dice = random.Random(7)
        for n in range(KILLS):
            moment = dice.uniform(0.03, 1.2)
            with self.subTest(n=n, moment=moment):
                for _ in range(TRIES):
                    slept, end, computing = self.kill_after(moment)
                    if slept:
                        break
                self.assertTrue(slept, "the sampling thread never had a processor")
                self.assertGreaterEqual(end, 1000 * moment - BIN - LATE)
                self.assertGreaterEqual(computing, 1000 * moment - BIN - LATE)
        self.assertEqual(list(self.temporary.iterdir()), [])


if __name__ == "__main__":
    unittest.main()
