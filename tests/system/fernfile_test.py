"""A profile that went through a file gives the same report as the live run."""

import json
import os
import pathlib
import struct
import unittest

from harness import BIN, CLIENT, SystemTest

FLAGS_OFFSET = 32  # of the header of a spool: flags, process, parent, MPI rank and size
MPI_FLAG = 1 << 1

# Copies prepared spools into the place where the sampler of this very process puts its own.
REPLAY = """#!/bin/sh
cp "$1"/* "$QUILLON_SAMPLER_SPOOL"
"""


class FernFile(SystemTest):
    def record_spools(self):
        """The spools of two runs, made to look like two ranks of a parallel job."""
        spools = self.root / "spools"
        spools.mkdir()
        (sampler,) = BIN.parent.glob("lib*/**/libfern-sampler.so")
        for words in (("spin", "0.6", "sleep", "0.4"), ("spin", "0.3", "copy")):
            result = self.run_program(
                CLIENT, *words, stdin=b"x" * 100000,
                LD_PRELOAD=str(sampler), QUILLON_SAMPLER_SPOOL=str(spools), QUILLON_SAMPLER_EPOCH="1700000000000000000",
            )
            self.assertExit(result, 0)
        files = sorted(spools.iterdir())
        self.assertEqual(len(files), 2)
        for rank, path in enumerate(files):
            content = bytearray(path.read_bytes())
            flags, pid, parent, _, _ = struct.unpack_from("=Iiiii", content, FLAGS_OFFSET)
            struct.pack_into("=Iiiii", content, FLAGS_OFFSET, flags | MPI_FLAG, pid, parent, rank, 2)
            path.write_bytes(content)
        return spools

    def test_same_report_live_and_from_a_file(self):
        spools = self.record_spools()
        replay = self.folder / "replay"
        replay.write_text(REPLAY)
        replay.chmod(0o755)

        self.assertExit(self.quillon_report("-o", "live.json", "./replay", str(spools)), 0)
        self.assertExit(self.fern("-o", "run.fern", "./replay", str(spools)), 0)
        self.assertExit(self.quillon_report("run.fern", "-o", "file.json"), 0)

        live = (self.folder / "live.json").read_text()
        file = (self.folder / "file.json").read_text()
        live_source = self.values("live.json")["report.src.values"]
        file_source = self.values("file.json")["report.src.values"]
        self.assertTrue(live_source.startswith("brivane:/system-client_2p_1n_"), live_source)
        self.assertEqual(file_source, (self.folder / "run.fern").as_uri())
        self.assertEqual(live.replace(live_source, "SOURCE"), file.replace(file_source, "SOURCE"))

    def test_report_of_a_profile(self):
        self.assertExit(self.fern("-o", "run.fern", CLIENT, "spin", "1"), 0)
        self.assertExit(self.quillon_report("run.fern", "-o", "x.json"), 0)
        values = self.values("x.json")
        self.assertGreater(float(values["overview.cpu.percent"]), 90)
        self.assertEqual(values["applicationDetails.commandLine"], f"{CLIENT} spin 1")

    def test_profile_of_a_job_that_failed(self):
        self.assertExit(self.fern("-o", "run.fern", CLIENT, "spin", "0.3", "exit", "9"), 9)
        self.assertExit(self.quillon_report("run.fern", "-o", "x.json"), 0)

    def test_profile_that_is_replaced_by_a_newer_one(self):
        (self.folder / "run.fern").write_bytes(b"old")
        self.assertExit(self.fern("-o", "run.fern", CLIENT), 0)
        self.assertExit(self.quillon_report("run.fern", "-o", "x.json"), 0)


if __name__ == "__main__":
    unittest.main()
