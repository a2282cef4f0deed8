"""What goes wrong around a job: each ends in a report, or in one sentence and a status; nothing older is damaged."""

import os
import shutil
import signal
import sys
import time
import unittest

from harness import CLIENT, FERN, QUILLON_REPORT, SystemTest

SHIM = os.environ["QUILLON_FAULTSHIM"]
# Every write fails once where this is 1; otherwise every so-many-th.
STRIDE = int(os.environ.get("QUILLON_FAULT_STRIDE", "3"))
# Otherwise programs built with AddressSanitizer don't start behind a preloaded library.
SANITIZER = {"ASAN_OPTIONS": "verify_asan_link_order=0"}


class Faults(SystemTest):
    def faulty(self, program, **variables):
        return {"LD_PRELOAD": SHIM, "FAULT_PROGRAM": os.path.basename(program), **SANITIZER, **variables}

    def assertOneSentence(self, result):
        text = result.stderr.decode()
        self.assertNotEqual(result.returncode, 0, text)
        lines = [line for line in text.splitlines() if line]
        self.assertTrue(lines, "nothing was said")
        self.assertLessEqual(len(lines), 2, text)

    def each_write_fails(self, program, older, words):
        """Runs a command again and again, each time with a disk that is full a little later, until nothing fails."""
        for name in older:
            (self.folder / name).write_bytes(b"older")
        beside = set(self.files()) - set(older)
        step = 1
        while True:
            with self.subTest(step=step):
                result = self.run_program(program, *words, **self.faulty(program, FAULT_DISK=str(step)))
                left = {name: (self.folder / name).read_bytes() for name in self.files() if name not in beside}
                self.assertEqual(sorted(left), sorted(older), "nothing half written is left")
                if result.returncode == 0:
                    for name, text in left.items():
                        self.assertGreater(len(text), 1000, name)
                    break
                self.assertOneSentence(result)
                self.assertNotIn(b"ERROR: ", result.stderr)
                for name, text in left.items():
                    self.assertTrue(text == b"older" or len(text) > 1000, name)
                self.assertEqual(list(self.temporary.iterdir()), [])
            step += STRIDE
            self.assertLess(step, 3000)
        self.assertGreater(step, STRIDE, "no write was seen")

    def test_disk_full_at_every_write_of_reports(self):
        self.assertExit(self.fern("-q", "-o", "in.fern", CLIENT, "spin", "0.2"), 0)
        for name in ("x.html", "x.txt", "x.csv", "x.json"):
            with self.subTest(name=name):
                self.each_write_fails(QUILLON_REPORT, [name], ["-q", "-o", name, "in.fern"])
                (self.folder / name).unlink()

    def test_disk_full_at_every_write_of_a_run(self):
        self.each_write_fails(FERN, ["x.fern"], ["-q", "-o", "x.fern", CLIENT, "spin", "0.1"])

    def test_folder_of_spools_is_removed_during_the_run(self):
        job = self.start_program(
            QUILLON_REPORT, "-q", "-o", "x.json", CLIENT, "spin", "0.3", "out", "ready", "spin", "0.5", "out", "whole")
        self.assertEqual(job.stdout.read(5), b"ready")
        for folder in self.temporary.iterdir():
            shutil.rmtree(folder)
        self.assertEqual(job.stdout.read(), b"whole")
        self.assertEqual(job.wait(60), 1)
        self.assertIn(b"left no profile", job.stderr.read())
        self.assertEqual(self.files(), [])

    def test_profile_that_is_none_is_named(self):
        script = """if True:
            import os
            os.chdir(os.environ["QUILLON_SAMPLER_SPOOL"])
            for name in os.listdir():
                os.unlink(name)
            open("stray.spool", "w").write("stray")"""
        result = self.quillon_report("-o", "x.json", sys.executable, "-c", script)
        self.assertExit(result, 1)
        self.assertIn(b"the job left no profile that can be read: skipped 'stray.spool': ", result.stderr)
        self.assertEqual(self.files(), [])

    def test_tool_is_killed(self):
        """The job goes on to its end, unharmed."""
        (self.folder / "x.json").write_bytes(b"older")
        tool = self.start_program(
            QUILLON_REPORT, "-q", "-o", "x.json", CLIENT, "spin", "0.3", "out", "ready", "spin", "0.5", "out", "whole",
            "touch", "end")
        self.assertEqual(tool.stdout.read(5), b"ready")
        tool.send_signal(signal.SIGKILL)
        self.assertEqual(tool.wait(10), -signal.SIGKILL)
        self.assertEqual(tool.stdout.read(), b"whole")
        for _ in range(100):
            if (self.folder / "end").exists():
                break
            time.sleep(0.05)
        self.assertEqual(self.files(), ["end", "x.json"])
        self.assertEqual((self.folder / "x.json").read_bytes(), b"older")

    def work_folders(self):
        return sorted(folder.name for folder in self.temporary.glob("fern-*"))

    def start_waiting_job(self):
        """A tool whose job waits for a file "end"."""
        tool = self.start_program(
            QUILLON_REPORT, "-q", "-o", "x.json", "sh", "-c", "echo ready; while [ ! -e end ]; do sleep 0.05; done; echo over")
        self.assertEqual(tool.stdout.read(6), b"ready\n")
        return tool

    def test_folder_of_a_killed_tool_is_removed_by_a_later_one(self):
        tool = self.start_waiting_job()
        left = self.work_folders()
        self.assertEqual(len(left), 1)
        # As nodes that don't have the folder would.
        gathered = self.folder / f".{left[0]}"
        gathered.mkdir(mode=0o700)
        (gathered / "1.spool").touch()
        tool.send_signal(signal.SIGKILL)
        self.assertEqual(tool.wait(10), -signal.SIGKILL)
        # The job still runs.
        self.assertExit(self.quillon_report("-q", "-o", "y.json", "sleep", "0.2"), 0)
        self.assertEqual(self.work_folders(), left)
        self.assertTrue(gathered.exists())
        (self.folder / "end").touch()
        self.assertEqual(tool.stdout.read(), b"over\n")
        for _ in range(100):
            self.assertExit(self.quillon_report("-q", "-o", "y.json", "sleep", "0.2"), 0)
            if not self.work_folders():
                break
        self.assertEqual(self.work_folders(), [])
        self.assertFalse(gathered.exists())

    def test_note_of_a_killed_tool_that_isnt_whole_removes_nothing(self):
        tool = self.start_waiting_job()
        (left,) = self.work_folders()
        note = self.temporary / left / "taken-along"
        kept = self.folder / "kept"
        kept.mkdir(mode=0o700)
        self.assertEqual(note.read_text(), str(self.folder.resolve() / f".{left}"))
        note.write_text(str(kept))
        tool.send_signal(signal.SIGKILL)
        self.assertEqual(tool.wait(10), -signal.SIGKILL)
        (self.folder / "end").touch()
        self.assertEqual(tool.stdout.read(), b"over\n")
        for _ in range(100):
            self.assertExit(self.quillon_report("-q", "-o", "y.json", "sleep", "0.2"), 0)
            if not self.work_folders():
                break
        self.assertEqual(self.work_folders(), [])
        self.assertTrue(kept.exists())

    def test_folder_of_a_living_tool_stays(self):
        tool = self.start_waiting_job()
        folders = self.work_folders()
        self.assertEqual(len(folders), 1)
        # What isn't a tool's own stays, too.
        other = self.temporary / "fern-abcdef"
        other.mkdir(mode=0o700)
        (other / "tool.lock").write_text("another node\n")
        self.assertExit(self.quillon_report("-q", "-o", "y.json", "sleep", "0.2"), 0)
        self.assertEqual(self.work_folders(), sorted([*folders, "fern-abcdef"]))
        (self.folder / "end").touch()
        self.assertEqual(tool.wait(60), 0)
        self.assertEqual(self.work_folders(), ["fern-abcdef"])

    def test_clock_is_set_back_during_the_run(self):
        for program in ("quillon-report", os.path.basename(CLIENT)):
            for question in (1, 2, 3, 5, 9, 17, 40):
                with self.subTest(program=program, question=question):
                    begin = time.monotonic()
                    result = self.run_program(
                        QUILLON_REPORT, "-q", "-o", "x.json", CLIENT, "spin", "1.5",
                        **self.faulty(program, FAULT_CLOCK=str(question)))
                    took = time.monotonic() - begin
                    self.assertExit(result, 0)
                    values = self.values("x.json")
                    # Whole seconds, up; a busy machine takes longer than the client wants to.
                    self.assertIn(int(values["applicationDetails.time.plain"]), range(2, int(took) + 2))
                    self.assertEqual(values["overview.cpu.percent"], 100)

    def test_many_processes_of_an_instant(self):
        result = self.quillon_report(
            "-q", "-o", "x.json", "sh", "-c", f"for i in $(seq 1 1500); do /bin/true & done; wait; exec {CLIENT} spin 0.5")
        self.assertExit(result, 0)
        self.assertEqual(result.stderr, b"")
        self.assertEqual(self.values("x.json")["overview.cpu.percent"], 100)
        self.assertEqual(list(self.temporary.iterdir()), [])

    def test_connector_that_prints_without_end(self):
        connector = self.folder / "connector"
        connector.write_text("#!/bin/sh\nhead -c 100000000 /dev/zero | tr '\\0' x\nexit 0\n")
        connector.chmod(0o755)
        result = self.quillon_report(
            "-q", "-o", "x.json", "--dcim-output", CLIENT, "spin", "0.2", KELP_DCIM_SCRIPT=str(connector))
        self.assertExit(result, 0)
        self.assertEqual(result.stdout, b"")

    def definition(self, head, tail):
        """A definition with a hundred million letters in it."""
        path = self.folder / "large.xml"
        with path.open("wb") as file:
            file.write(b'<partialReport xmlns="http://brivane.example/2016/BrivaneReports" name="' + head)
            for _ in range(100):
                file.write(b"x" * 1000000)
            file.write(tail + b"</partialReport>")
        return self.quillon_report(
            "-q", "-o", "x.json", CLIENT, "spin", "0.1", BRIVANE_PARTIAL_REPORT_SOURCE=str(path))

    def test_definition_with_a_name_of_a_hundred_megabytes(self):
        self.assertExit(self.definition(b"", b'">'), 0)
        self.assertEqual(self.files(), ["large.xml", "x.json"])

    def test_definition_with_stray_text_of_a_hundred_megabytes(self):
        self.assertOneSentence(self.definition(b'large">', b""))
        self.assertEqual(self.files(), ["large.xml"])


if __name__ == "__main__":
    unittest.main()
