"""The job keeps its streams, its arguments, its environment and its exit status."""

import os
import pathlib
import shutil
import unittest

from harness import CLIENT, FERN, QUILLON_REPORT, SystemTest


class Passthrough(SystemTest):
    def test_output_is_the_same_byte_for_byte(self):
        words = ("out", "one\n", "err", "two\n", "out", "three")
        alone = self.run_program(CLIENT, *words)
        for program in (QUILLON_REPORT, FERN):
            result = self.run_program(program, "-q", "-o", "x.fern" if program == FERN else "x.json", CLIENT, *words)
            self.assertExit(result, 0)
            self.assertEqual(result.stdout, alone.stdout)
            self.assertEqual(result.stderr, alone.stderr)

    def test_input_reaches_the_job(self):
        data = bytes(range(256)) * 1000
        result = self.quillon_report("-o", "/dev/null", CLIENT, "copy", stdin=data)
        self.assertExit(result, 0)
        self.assertEqual(result.stdout, data)

    def test_input_from_a_file(self):
        (self.folder / "in.txt").write_bytes(b"from the file")
        result = self.quillon_report("-i", "in.txt", "-o", "x.json", CLIENT, "copy", stdin=b"not this")
        self.assertExit(result, 0)
        self.assertEqual(result.stdout, b"from the file")
        self.assertIn(b'"in.txt"', (self.folder / "x.json").read_bytes())

    def test_arguments_of_all_kinds(self):
        words = [b"a b", b"", b"it's", b'"quoted"', b"two\nlines", b"\xff\xfe not text", "grün".encode(), b"%1"]
        result = self.quillon_report("-o", "/dev/null", CLIENT, "words", *words)
        self.assertExit(result, 0)
        self.assertEqual(result.stdout, b"".join(word + b"\0" for word in words))

    def test_exit_status_is_passed_on(self):
        for status in (0, 1, 3, 127, 255):
            self.assertExit(self.quillon_report("-o", "x.json", CLIENT, "exit", str(status)), status)
            self.assertExit(self.fern("-o", "x.fern", CLIENT, "exit", str(status)), status)

    def test_program_is_found_in_the_path(self):
        bin_folder = self.root / "bin"
        bin_folder.mkdir()
        shutil.copy(CLIENT, bin_folder / "found-in-path")
        path = f"{bin_folder}:{os.environ['PATH']}"
        result = self.quillon_report("-o", "x.json", "found-in-path", "exit", "4", PATH=path)
        self.assertExit(result, 4)
        self.assertIn(b'"found-in-path"', (self.folder / "x.json").read_bytes())

    def test_script_without_interpreter_runs_in_a_shell(self):
        script = self.folder / "script"
        script.write_text(f"{CLIENT} words \"$@\"\n")
        script.chmod(0o755)
        result = self.quillon_report("-o", "/dev/null", "./script", "a b", "c")
        self.assertExit(result, 0)
        self.assertEqual(result.stdout, b"a b\0c\0")

    def test_preloaded_libraries_stay(self):
        result = self.quillon_report(
            "-o", "/dev/null", CLIENT, "env", "LD_PRELOAD",
            LD_PRELOAD="libm.so.6", ASAN_OPTIONS="verify_asan_link_order=0",
        )
        self.assertExit(result, 0)
        self.assertRegex(result.stdout, rb"/libfern-sampler\.so:libm\.so\.6\n\Z")

    def test_installation_in_a_folder_with_blanks(self):
        moved = self.root / "an installation: with blanks"
        shutil.copytree(pathlib.Path(QUILLON_REPORT).parent.parent, moved, symlinks=True)
        result = self.run_program(
            str(moved / "bin" / "quillon-report"), "-o", "x.json", CLIENT, "spin", "0.3", "exit", "5",
            LD_LIBRARY_PATH=":".join(str(p) for p in moved.glob("lib*")),
        )
        self.assertExit(result, 5)
        self.assertEqual(self.files(), ["x.json"])

    def test_nothing_temporary_is_left(self):
        self.assertExit(self.quillon_report("-o", "x.json", CLIENT, "spin", "0.2"), 0)
        self.assertEqual(list(self.temporary.iterdir()), [])
        self.assertEqual(self.files(), ["x.json"])

    def test_folder_for_temporary_files_is_private(self):
        result = self.quillon_report("-o", "/dev/null", CLIENT, "env", "QUILLON_SAMPLER_SPOOL", "touch", "mark", "sleep", "0")
        spool = pathlib.Path(result.stdout.decode().strip())
        self.assertEqual(spool.parent.parent, self.temporary)
        job = self.start_program(QUILLON_REPORT, "-o", "/dev/null", CLIENT, "out", "ready", "sleep", "3")
        self.assertEqual(job.stdout.read(5), b"ready")
        (folder,) = self.temporary.iterdir()
        self.assertEqual(folder.stat().st_mode & 0o777, 0o700)

    def test_missing_folder_for_temporary_files(self):
        result = self.quillon_report("-o", "x.json", CLIENT, "exit", "3", TMPDIR=str(self.root / "nonesuch"))
        self.assertExit(result, 3)
        self.assertEqual(self.files(), ["x.json"])


if __name__ == "__main__":
    unittest.main()
