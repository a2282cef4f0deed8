"""Jobs on nodes with GPUs, by stand-ins for their libraries: what the reports say of them."""

import os
import pathlib
import shutil
import subprocess
import time
import unittest

from harness import SystemTest

NVML = os.environ["QUILLON_NVML"]
WAITER = os.environ["QUILLON_ACCELERATOR_CLIENT"]

TWO_GPUS = """count 2
0.usage 80
0.access 30
0.used 3000000000
0.total 8000000000
0.power 250000
1.usage 20
1.access 10
1.used 1000000000
1.total 8000000000
1.power 50000
"""


class GpuTest(SystemTest):
    def setUp(self):
        super().setUp()
        self.driver = self.root / "driver"
        self.driver.mkdir()
        (self.driver / "libnvidia-ml.so.1").symlink_to(NVML)
        self.environment["QUILLON_SAMPLER_NVML"] = str(self.driver / "libnvidia-ml.so.1")
        self.answer(TWO_GPUS)

    def answer(self, lines):
        (self.driver / "nvml.txt").write_text(lines)

    def report(self, *command):
        """Runs a job; gives its report as text and the values of its report as JSON."""
        result = self.quillon_report("-o", "report.all", *command, FERN_ENABLE_ALL_REPORTS_GENERATION="1")
        self.assertExit(result, 0)
        return (self.folder / "report.txt").read_text(), self.values("report.json")

    def assertValue(self, values, metric, expected, delta):
        self.assertAlmostEqual(float(values[metric]), expected, delta=delta, msg=metric)

    def test_a_report_tells_use_memory_energy_and_waits(self):
        text, values = self.report(WAITER, "0.5", "1.2", "burns")
        self.assertRegex(text, r"2 GPUs per node")
        self.assertRegex(text, r"GPU utilization: +50\.0%")
        self.assertIn("GPU utilization is low; identify CPU bottlenecks", text)
        self.assertIn("calculated using the accelerator energy usage", text)
        self.assertIn("waiting for accelerators. Use asynchronous", " ".join(text.split()))
        self.assertValue(values, "cuda.gpusInUsePercent", 50, 0.01)
        self.assertValue(values, "cuda.globalMemoryAccessPercent", 20, 0.01)
        self.assertValue(values, "cuda.meanMemoryPercent", 25, 0.01)
        self.assertValue(values, "cuda.peakMemoryPercent", 25, 0.01)

    def test_ranks_that_merge_their_profiles(self):
        for compiler, launcher in (("mpicc.openmpi", "mpirun.openmpi"), ("mpicc.mpich", "mpirun.mpich")):
            with self.subTest(launcher=launcher):
                if not shutil.which(compiler):
                    self.skipTest(f"{compiler} isn't installed")
                program = self.folder / "ranks"
                source = pathlib.Path(__file__).parent / "mpiclient.c"
                subprocess.run([compiler, "-o", program, source], check=True, capture_output=True)
                self.environment.update(OMPI_ALLOW_RUN_AS_ROOT="1", OMPI_ALLOW_RUN_AS_ROOT_CONFIRM="1")
                self.environment["OMPI_MCA_rmaps_base_oversubscribe"] = "1"
                result = self.quillon_report("-o", "x.json", launcher, "-n", "3", "./ranks", "1.2")
                self.assertExit(result, 0)
                values = self.values("x.json")
                self.assertEqual(values["applicationDetails.processes.plain"], 3)
                self.assertValue(values, "cuda.gpusInUsePercent", 50, 0.01)
                self.assertValue(values, "cuda.meanMemoryPercent", 25, 0.01)

    def test_advice_follows_the_figures(self):
        self.answer(TWO_GPUS.replace("usage 80", "usage 0").replace("usage 20", "usage 0"))
        text, _ = self.report("sleep", "1.2")
        self.assertIn("GPUs are available but are not used.", " ".join(text.split()))

    def test_a_node_without_a_driver_has_no_such_section(self):
        self.answer("init 9\n")
        text, _ = self.report("sleep", "0.8")
        self.assertNotIn("Accelerators", text)
        self.assertNotIn("GPU", text)

    def test_gpus_that_dont_tell_how_busy_they_are_say_why(self):
        self.answer(TWO_GPUS + "usage.code 3\n")
        text, values = self.report("sleep", "1.2")
        self.assertIn("Requires GPUs that tell it", " ".join(text.split()))
        self.assertValue(values, "cuda.meanMemoryPercent", 25, 0.01)

    def test_a_driver_that_hangs_holds_up_neither_the_job_nor_the_report(self):
        begin = time.monotonic()
        self.report("true")
        without = time.monotonic() - begin
        self.answer("hang 1\n")
        begin = time.monotonic()
        self.report("sleep", "1")
        self.assertLess(time.monotonic() - begin, 3 * without + 8)

    def test_the_list_of_metrics_says_what_the_gpus_tell(self):
        self.answer(TWO_GPUS + "power.code 4\n")
        listed = self.quillon_report("--list-metrics")
        self.assertExit(listed, 0)
        lines = listed.stdout.decode().replace("\n    ", "\t").splitlines()
        entries = {line.split("\t")[0]: line for line in lines}
        self.assertIn("Requires GPUs that tell it", entries["nvidia_power"])
        self.assertNotIn("Requires", entries["nvidia_gpu_usage"])
        self.environment["QUILLON_SAMPLER_NVML"] = "/missing"
        listed = self.quillon_report("--list-metrics").stdout.decode()
        self.assertEqual(listed.count("Requires a working NVIDIA driver"), 6)


if __name__ == "__main__":
    unittest.main()
