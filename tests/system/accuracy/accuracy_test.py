"""The shares that a report states against those that the program measured itself, with a clock, in the same run."""

import json
import os
import subprocess
import tempfile
import unittest
from pathlib import Path

TOOL = os.environ["QUILLON_REPORT"]
SHARES = os.environ["QUILLON_SHARES"]
MPI_SHARES = os.environ.get("QUILLON_MPI_SHARES", "")
MPIRUN = os.environ.get("QUILLON_MPIRUN", "mpirun")

POINTS = 5.0  # how far a share may be off, in points of percent

ENVIRONMENT = dict(
    os.environ,
    OMPI_ALLOW_RUN_AS_ROOT="1",
    OMPI_ALLOW_RUN_AS_ROOT_CONFIRM="1",
    OMPI_MCA_rmaps_base_oversubscribe="1",
)


def measured(result: Path):
    """What the ranks wrote down, in percent of the time of all ranks together."""
    totals = {}
    files = list(result.parent.glob(result.name + ".[0-9]*"))
    assert files, "the program left no result"
    for file in files:
        for line in file.read_text().splitlines():
            kind, seconds = line.split()
            totals[kind] = totals.get(kind, 0.0) + float(seconds)
    return {kind: 100.0 * totals[kind] / totals["total"] for kind in ("cpu", "mpi", "io")}


class Accuracy(unittest.TestCase):
    def check(self, ranks, rounds, *phases):
        with tempfile.TemporaryDirectory() as folder:
            report = Path(folder, "report.json")
            result = Path(folder, "result")
            launch = [MPIRUN, "-n", str(ranks), MPI_SHARES] if ranks else [SHARES]
            command = [TOOL, "-o", str(report), *launch, str(result), str(rounds), *phases]
            done = subprocess.run(command, env=ENVIRONMENT, cwd=folder, capture_output=True, text=True, timeout=240)
            self.assertEqual(done.returncode, 0, done.stderr)
            self.assertEqual(done.stdout, "")
            data = json.loads(report.read_text())["data"]
            stated = {kind: data["overview"][kind]["percent"] for kind in ("cpu", "mpi", "io")}
            truth = measured(result)
            print(self.id().split(".")[-1], "stated", stated, "measured", truth)
            for kind, percent in truth.items():
                self.assertAlmostEqual(stated[kind], percent, delta=POINTS, msg=f"{kind}: {stated} {truth}")
            self.assertAlmostEqual(sum(stated.values()), 100.0, delta=0.1)
            self.assertEqual(data["applicationDetails"]["processes"]["plain"], max(ranks, 1))

    def test_computing_alone(self):
        self.check(0, 1, "compute:3")

    def test_writing_and_computing(self):
        self.check(0, 20, "compute:2", "write:2")

    def test_printing_and_computing(self):
        self.check(0, 20, "compute:2", "print:1")

    def test_reading_and_computing(self):
        self.check(0, 20, "compute:1", "read:2")

    def test_sleeping_counts_as_the_programs_own_time(self):
        self.check(0, 10, "sleep:2", "write:1")

    @unittest.skipUnless(MPI_SHARES, "no MPI compiler")
    def test_one_rank(self):
        self.check(1, 10, "compute:2", "collective:1", "write:1")

    @unittest.skipUnless(MPI_SHARES, "no MPI compiler")
    def test_two_ranks_waiting_in_a_collective(self):
        self.check(2, 10, "compute:1", "collective:2", "write:1")

    @unittest.skipUnless(MPI_SHARES, "no MPI compiler")
    def test_two_ranks_exchanging_messages(self):
        self.check(2, 10, "compute:2", "ping:2")

    @unittest.skipUnless(MPI_SHARES, "no MPI compiler")
    def test_two_ranks_waiting_for_each_other_and_reading(self):
        self.check(2, 10, "wait:3", "read:1")


if __name__ == "__main__":
    unittest.main(verbosity=2)
