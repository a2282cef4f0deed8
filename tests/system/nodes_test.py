"""Jobs on two nodes that have no folder for temporary files in common."""

import os
import pathlib
import shutil
import sqlite3
import statistics
import subprocess
import time
import unittest

from harness import BIN, FERN, QUILLON_REPORT, SystemTest
from nodes import Nodes, Unavailable

SOURCE = pathlib.Path(__file__).parent / "nodesclient.c"
BUILD = pathlib.Path(os.environ["QUILLON_BUILD"])
IMPLEMENTATIONS = ("openmpi", "mpich")
MPI_OTHER, PTHREAD_SYNC = 3, 12
KEEPER = "fern-spool-keeper"


class SeveralNodes(SystemTest):
    def setUp(self):
        super().setUp()
        (self.root / "bin").mkdir()
        try:
            self.nodes = Nodes(self.root, [BUILD, self.folder, self.root / "bin"])
        except Unavailable as reason:
            self.skipTest(str(reason))
        self.addCleanup(self.nodes.close)
        self.environment.update(
            OMPI_ALLOW_RUN_AS_ROOT="1", OMPI_ALLOW_RUN_AS_ROOT_CONFIRM="1",
            OMPI_MCA_rmaps_base_oversubscribe="1", TMPDIR="/tmp",
        )

    def implementations(self):
        """Those that are installed, each with its client."""
        found = [name for name in IMPLEMENTATIONS if shutil.which(f"mpicc.{name}")]
        if not found:
            self.skipTest("no implementation of MPI is installed")
        for name in found:
            client = self.folder / f"ranks-{name}"
            subprocess.run([f"mpicc.{name}", "-o", client, SOURCE, "-pthread"], check=True, capture_output=True)
        return found

    def launcher(self, implementation, hosts):
        """The words that start so many ranks on each of some nodes, the first ranks on the first node."""
        ranks = str(sum(hosts.values()))
        places = ",".join(f"{node}:{count}" for node, count in hosts.items())
        if implementation == "openmpi":
            return ["mpirun.openmpi", "--mca", "plm_rsh_agent", str(self.nodes.starter), "--host", places, "-n", ranks]
        return ["mpiexec.mpich", "-launcher", "ssh", "-launcher-exec", str(self.nodes.starter),
                "-hosts", places, "-n", ranks]

    def run_there(self, *words, folder=None):
        """Runs a tool on the first node, and looks at what it leaves."""
        result = self.run_program(*self.nodes.on("nodea", *words, folder=folder or self.folder))
        self.assertNothingIsLeft()
        return result

    def job(self, implementation, hosts, *words):
        (self.folder / "x.json").unlink(missing_ok=True)
        return self.run_there(
            QUILLON_REPORT, "-v", "-o", "x.json", *self.launcher(implementation, hosts), f"./ranks-{implementation}", *words
        )

    def assertNothingIsLeft(self):
        deadline = time.monotonic() + 20
        keepers = self.keepers()
        while keepers and time.monotonic() < deadline:
            time.sleep(0.05)
            keepers = self.keepers()
        self.assertEqual(keepers, [])
        for node in ("nodea", "nodeb"):
            left = [name for name in self.nodes.files(node) if "fern-" in name]
            self.assertEqual(left, [], node)
        self.assertEqual([path for path in self.folder.iterdir() if path.name.startswith(".")], [])

    def keepers(self):
        """Command lines of keepers on the nodes that haven't ended."""
        found = []
        for process in pathlib.Path("/proc").glob("[0-9]*"):
            try:
                words = (process / "cmdline").read_bytes().decode(errors="replace").split("\0")
                if words[0].endswith(KEEPER) and self.nodes.has(process):
                    found.append(" ".join(words))
            except OSError:
                continue
        return found

    def assertAllRanks(self, result, ranks, nodes=2):
        values = self.values("x.json")
        self.assertEqual(values["applicationDetails.processes.plain"], ranks, result.stderr)
        self.assertEqual(values["applicationDetails.nodes.plain"], nodes)
        self.assertEqual(values["applicationDetails.profiledRanks"], "All")
        self.assertNotIn(b"did not hand over", result.stderr)
        return values

    def give_power(self, watts):
        """Gives each node a sensor of its own."""
        for node, value in watts.items():
            sensor = self.root / "bin" / f"sys-{node}" / "class" / "hwmon" / "hwmon0"
            sensor.mkdir(parents=True)
            (sensor / "name").write_text("power_meter\n")
            (sensor / "power1_average").write_text(f"{value * 1000000}\n")
        self.set_on_nodes(**{node: f"QUILLON_SAMPLER_SYSFS={self.root}/bin/sys-{node}" for node in watts})

    def set_on_nodes(self, **variables):
        """Sets a variable for the ranks of a node: as they start, whatever the launcher hands on."""
        lines = [f"{node}) export {assignment} ;;" for node, assignment in variables.items()]
        wrapper = self.folder / "on-node"
        wrapper.write_text("#!/bin/sh\ncase $(cat /proc/sys/kernel/hostname) in\n" + "\n".join(lines)
                           + '\nesac\nexec "$@"\n')
        wrapper.chmod(0o755)

    def test_ranks_that_merge_their_profiles(self):
        for implementation in self.implementations():
            with self.subTest(implementation=implementation):
                for hosts in ({"nodea": 2, "nodeb": 2}, {"nodeb": 2, "nodea": 2}, {"nodeb": 2}):
                    with self.subTest(hosts=hosts):
                        result = self.job(implementation, hosts, "plain", "0.5")
                        self.assertExit(result, 0)
                        ranks = sum(hosts.values())
                        self.assertEqual(result.stdout.decode(), f"{ranks} ranks\n")
                        self.assertAllRanks(result, ranks, len(hosts))

    def test_ranks_that_leave_their_profiles_to_the_tool(self):
        for implementation in self.implementations():
            with self.subTest(implementation=implementation):
                result = self.job(implementation, {"nodea": 2, "nodeb": 2}, "unfinished", "0.5")
                self.assertAllRanks(result, 4)

    def test_ranks_that_are_killed(self):
        for implementation in self.implementations():
            with self.subTest(implementation=implementation):
                result = self.job(implementation, {"nodea": 2, "nodeb": 2}, "killed", "1")
                self.assertNotEqual(result.returncode, 0)
                self.assertAllRanks(result, 4)
                self.assertGreaterEqual(self.values("x.json")["applicationDetails.time.plain"], 1)

    def test_a_node_counts_once(self):
        self.give_power({"nodea": 100, "nodeb": 300})
        for implementation in self.implementations():
            with self.subTest(implementation=implementation):
                for way in ("plain", "unfinished"):
                    with self.subTest(way=way):
                        launcher = self.launcher(implementation, {"nodea": 3, "nodeb": 1})
                        (self.folder / "x.json").unlink(missing_ok=True)
                        result = self.run_there(
                            QUILLON_REPORT, "-v", "-o", "x.json", *launcher, "./on-node", f"./ranks-{implementation}", way, "1.5"
                        )
                        values = self.assertAllRanks(result, 4)
                        self.assertAlmostEqual(values["energy.nodeMeanPower"], 200, delta=20)  # one that counted by ranks would have 150

    def test_nothing_is_shared_but_the_program(self):
        for implementation in self.implementations():
            with self.subTest(implementation=implementation):
                launcher = self.launcher(implementation, {"nodea": 2, "nodeb": 2})
                result = self.run_there(
                    QUILLON_REPORT, "-o", str(self.folder / "x.json"), *launcher, str(self.folder / f"ranks-{implementation}"),
                    "plain", "0.5", folder="/tmp",
                )
                self.assertExit(result, 0)
                self.assertAllRanks(result, 4)

    def test_clocks_that_differ(self):
        self.set_on_nodes(nodeb="QUILLON_SAMPLER_CLOCK=5002")
        for implementation in self.implementations():
            with self.subTest(implementation=implementation):
                # On a busy machine looks come late, here or there; clocks that aren't aligned are so each time.
                differences = [self.difference_of_phases(implementation) for _ in range(3)]
                self.assertLessEqual(min(abs(difference) for difference in differences), 10, differences)

    def difference_of_phases(self, implementation):
        profile = self.folder / "x.fern"
        profile.unlink(missing_ok=True)
        launcher = self.launcher(implementation, {"nodea": 1, "nodeb": 1})
        result = self.run_there(
            FERN, "-q", "-o", profile.name, *launcher, "./on-node", f"./ranks-{implementation}", "phases", "0.15", "8"
        )
        self.assertExit(result, 0)
        differences = self.differences(profile)
        # On a busy machine a phase may pass without a look at both ranks.
        self.assertGreaterEqual(len(differences), 4)
        return statistics.median(differences)

    @staticmethod
    def differences(profile):
        """How much later, in ms, the second rank's phases are in the profile than those of the first."""
        with sqlite3.connect(profile) as database:
            rows = database.execute(
                "SELECT (begin_ms + end_ms) / 2.0, category, main FROM hit JOIN sample USING (sample) "
                "WHERE category IN (?, ?) AND main > 0 ORDER BY 1", (MPI_OTHER, PTHREAD_SYNC),
            ).fetchall()
        database.close()
        waits = [(moment, hits) for moment, category, hits in rows if category == PTHREAD_SYNC]
        calls = [(moment, hits) for moment, category, hits in rows if category == MPI_OTHER]
        phases = []
        for moment, hits in waits:
            if not phases or moment - phases[-1][-1][0] > 70:
                phases.append([])
            phases[-1].append((moment, hits))

        def middle(pieces):
            return sum(moment * hits for moment, hits in pieces) / sum(hits for _, hits in pieces)

        differences = []
        for phase in phases:
            beside = [(moment, hits) for moment, hits in calls if phase[0][0] - 70 < moment < phase[-1][0] + 70]
            if beside:
                differences.append(middle(beside) - middle(phase))
        return differences


if __name__ == "__main__":
    unittest.main()
