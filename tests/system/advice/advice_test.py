"""What reports say of programs that one thing bounds: the bound and the first sentence of its section."""

import os
import pathlib
import re
import shutil
import unittest

from harness import CLIENT, SystemTest

MPI_BOUND = os.environ.get("QUILLON_MPI_BOUND", "")
MPIRUN = os.environ.get("QUILLON_MPIRUN", "mpirun")
EXAMPLES = pathlib.Path(os.environ["QUILLON_EXAMPLES"])
AS_ROOT_AND_CROWDED = {
    "OMPI_ALLOW_RUN_AS_ROOT": "1",
    "OMPI_ALLOW_RUN_AS_ROOT_CONFIRM": "1",
    "OMPI_MCA_rmaps_base_oversubscribe": "1",
}


def read(sentence):
    """A sentence without its spans."""
    return re.sub("<[^>]*>", "", sentence)


class Advice(SystemTest):
    def report(self, *job):
        result = self.quillon_report("-o", "report.json", *job, **AS_ROOT_AND_CROWDED)
        self.assertExit(result, 0)
        return self.values("report.json")

    def assertBound(self, values, bound, section, beginning):
        self.assertEqual(values["overview.bound1.long"], bound)
        self.assertTrue(read(values[f"{section}.advice1"]).startswith(beginning), values[f"{section}.advice1"])

    @unittest.skipUnless(MPI_BOUND, "no MPI compiler")
    def test_waiting_in_mpi(self):
        values = self.report(MPIRUN, "-n", "2", MPI_BOUND, "mpiwait", "4")
        self.assertBound(values, "MPI-bound", "mpi", "Most of the time is spent in ")
        self.assertIn("a very low transfer rate. This suggests load imbalance", read(values["mpi.advice1"]))

    def test_small_writes(self):
        values = self.report(CLIENT, "write", "3")
        self.assertBound(values, "I/O-bound", "io", "Most of the time is spent in write operations with ")

    def computing(self, kind, measured):
        """Only where the instruction mix could be measured can it be judged."""
        values = self.report(CLIENT, kind, "3")
        unmeasured = "The CPU performance appears well-optimized for numerical computation."
        beginning = unmeasured if values["cpu.scalarNumPercent"] is None else measured
        self.assertBound(values, "Compute-bound", "cpu", beginning)

    def test_scalar_loop(self):
        self.computing("scalar", "The per-core performance is arithmetic-bound.")

    def test_vector_loop(self):
        self.computing("vector", "The CPU performance appears well-optimized for numerical computation.")

    def test_memory_accesses(self):
        self.computing("memory", "The per-core performance is memory-bound.")

    def test_waiting_threads(self):
        for kind in ("idle", "lock"):
            values = self.report(CLIENT, kind, "3")
            self.assertBound(
                values, "Compute-bound", "threads", "Significant time is spent synchronizing threads."
            )

    def test_trapped_capacity(self):
        self.assertExit(self.fern("-o", "job.fern", CLIENT, "scalar", "1"), 0)
        result = self.quillon_report("--type", "trapped", "job.fern", "-o", "report.json")
        self.assertExit(result, 0)
        values = self.values("report.json")
        self.assertIsNotNone(values["overview.cpu.percentOfBudget"])
        self.assertIn("This job is bound by", values["overview.advice"])
        if not values["energy.hasTrappedCapacity"]:
            self.assertIn(b"Trapped Capacity metric unavailable, report will be incomplete.", result.stderr)
            self.assertTrue(values["energy.advice1"].startswith("The trapped capacity cannot be displayed"))

    def test_section_of_the_site(self):
        folder = self.root / "home" / ".config" / "brivane" / "quillon-report" / "reports"
        folder.mkdir(parents=True)
        shutil.copy(EXAMPLES / "partial-reports" / "site-memory.xml", folder)
        values = self.report(CLIENT, "memory", "2")
        # An array of 128 MiB.
        self.assertGreater(values["site.memory.largestProcess"], 120 << 20)
        self.assertGreater(values["site.memory.usualPercent"], 0)
        self.assertLess(values["site.memory.usualPercent"], 100)


if __name__ == "__main__":
    unittest.main()
