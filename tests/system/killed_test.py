"""A job that is killed at any moment has a report of all that it did but for the last bin."""

import os
import random
import signal
import sqlite3
import unittest

from harness import CLIENT, SystemTest

KILLS = int(os.environ.get("QUILLON_KILLS", "20"))
BIN = 20  # ms, for the first 20 seconds of a run
# How late the sampling thread may be on a machine that is busy with other tests, in ms.
LATE = 60


class Killed(SystemTest):
    def test_killed_at_random_moments(self):
        dice = random.Random(7)
        for n in range(KILLS):
            moment = dice.uniform(0.03, 1.2)
            with self.subTest(n=n, moment=moment):
                job = self.fern("-q", "-o", "x.fern", CLIENT, "spin", str(moment), "raise", str(int(signal.SIGKILL)))
                self.assertExit(job, 128 + signal.SIGKILL)
                self.assertEqual(self.files(), ["x.fern"])
                with sqlite3.connect(self.folder / "x.fern") as profile:
                    (end,) = profile.execute("SELECT max(end_ms) FROM sample").fetchone()
                    (computing,) = profile.execute("SELECT sum(main) / 10 FROM hit WHERE category = 0").fetchone()
                profile.close()
                self.assertGreaterEqual(end, 1000 * moment - BIN - LATE)
                self.assertGreaterEqual(computing, 1000 * moment - BIN - LATE)
                report = self.quillon_report("-q", "-o", "x.json", "x.fern")
                self.assertExit(report, 0)
                self.assertEqual(self.values("x.json")["overview.cpu.percent"], 100)
                for file in self.files():
                    (self.folder / file).unlink()
        self.assertEqual(list(self.temporary.iterdir()), [])


if __name__ == "__main__":
    unittest.main()
