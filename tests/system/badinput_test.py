"""Bad input: one clear sentence, a non-zero exit status, nothing run and nothing overwritten."""

import sqlite3
import unittest

from harness import CLIENT, SystemTest

OLD = "an older report\n"


class BadInput(SystemTest):
    def setUp(self):
        super().setUp()
        for name in ("old.txt", "old.json"):
            (self.folder / name).write_text(OLD)
        self.mark = self.folder / "mark"

    def refuse(self, status, sentence, *words):
        before = self.files()
        for output in ("old.txt", "old.json"):
            result = self.quillon_report("-o", output, *words)
            self.assertComplaint(result, status, sentence)
            self.assertEqual((self.folder / output).read_text(), OLD)
        self.assertEqual(self.files(), before)

    def assertComplaint(self, result, status, sentence):
        message = result.stderr.decode()
        self.assertExit(result, status)
        self.assertEqual(result.stdout, b"")
        self.assertRegex(message, sentence)
        self.assertEqual(message.count("\n"), 1, message)
        self.assertTrue(message.startswith("quillon-report: "), message)

    def write(self, name, content):
        (self.folder / name).write_bytes(content)
        return name

    def profile(self):
        self.assertExit(self.fern("-o", "good.fern", CLIENT, "spin", "0.3"), 0)
        return (self.folder / "good.fern").read_bytes()

    # Programs

    def test_no_such_program(self):
        self.refuse(127, "no such program: 'nonesuch'", "nonesuch")
        self.refuse(127, "no such program: './nonesuch'", "./nonesuch", "-x")
        self.refuse(127, "no such program: 'old.txt/prog'", "old.txt/prog")

    def test_not_executable(self):
        self.write("plain", b"#!/bin/sh\n")
        self.refuse(126, "cannot run './plain': it is not executable", "./plain")
        self.refuse(126, "cannot run '/': it is a folder", "/")

    def test_interpreter_is_missing(self):
        self.write("script", b"#!/nonesuch/interpreter\n")
        (self.folder / "script").chmod(0o755)
        self.refuse(127, "cannot run './script': No such file or directory", "./script")

    def test_no_such_input_file(self):
        sentence = "cannot read the input file 'nonesuch': No such file or directory"
        self.refuse(1, sentence, "-i", "nonesuch", CLIENT, "touch", str(self.mark))
        self.refuse(1, "cannot read the input file '/': Is a directory", "-i", "/", CLIENT)

    # Profiles

    def test_no_such_profile(self):
        self.refuse(1, "nonesuch.fern", "nonesuch.fern")

    def test_profile_is_a_folder(self):
        (self.folder / "folder.fern").mkdir()
        self.refuse(1, "folder.fern", "folder.fern")

    def test_empty_profile(self):
        self.refuse(1, "empty.fern", self.write("empty.fern", b""))

    def test_text_with_the_suffix_of_a_profile(self):
        self.refuse(1, "text.fern", self.write("text.fern", b"This is text.\n" * 1000))

    def test_truncated_profile(self):
        content = self.profile()
        for size in (50, 4096, len(content) // 2, len(content) - 1):
            with self.subTest(size=size):
                self.refuse(1, "truncated.fern", self.write("truncated.fern", content[:size]))

    def test_foreign_database(self):
        with sqlite3.connect(self.folder / "foreign.fern") as database:
            database.execute("CREATE TABLE things (name TEXT)")
        database.close()
        self.refuse(1, "foreign.fern", "foreign.fern")

    def set_version(self, version):
        self.profile()
        with sqlite3.connect(self.folder / "good.fern") as database:
            database.execute(f"PRAGMA user_version = {version}")
        database.close()

    def test_profile_of_an_old_version(self):
        sentence = r"Only FERN files created by version 5\.0 or later can be converted into a Quillon Report\."
        for version in (0, 1):
            with self.subTest(version=version):
                self.set_version(version)
                self.refuse(1, sentence, "good.fern")

    def test_profile_of_a_version_to_come(self):
        self.set_version(1000)
        self.refuse(1, "good.fern", "good.fern")

    # Outputs

    def test_unwritable_folder_is_found_before_the_run(self):
        for output in ("old.txt/x.txt", "nonesuch/x.txt", "/proc/x.txt", "/proc"):
            with self.subTest(output=output):
                result = self.quillon_report("-o", output, CLIENT, "touch", str(self.mark))
                self.assertComplaint(result, 1, "cannot write to the folder '")
                self.assertFalse(self.mark.exists())

    def test_unwritable_folder_for_the_report_of_a_profile(self):
        self.profile()
        result = self.quillon_report("good.fern", "-o", "old.txt/x.txt")
        self.assertComplaint(result, 1, "cannot write to the folder 'old.txt': Not a directory")

    def test_unwritable_folder_for_a_profile(self):
        result = self.fern("-o", "old.txt/x.fern", CLIENT, "touch", str(self.mark))
        self.assertExit(result, 1)
        self.assertEqual(result.stderr, b"fern: cannot write to the folder 'old.txt': Not a directory\n")
        self.assertFalse(self.mark.exists())

    # Definitions

    def test_partial_report_that_is_not_there(self):
        result = self.quillon_report(
            "-o", "old.txt", CLIENT, "touch", str(self.mark), KELP_PARTIAL_REPORT_SOURCE="/nonesuch"
        )
        self.assertExit(result, 1)
        self.assertIn(
            b"Partial report source location specified by BRIVANE_PARTIAL_REPORT_SOURCE does not exist; "
            b"location=/nonesuch",
            result.stderr,
        )
        self.assertFalse(self.mark.exists())
        self.assertEqual((self.folder / "old.txt").read_text(), OLD)

    def test_partial_report_that_is_broken(self):
        self.write("broken.xml", b"<partialReport")
        result = self.quillon_report("-o", "old.txt", CLIENT, FERN_PARTIAL_REPORT_SOURCE="broken.xml")
        self.assertExit(result, 1)
        self.assertIn(b"error when appending partial report definition; error=", result.stderr)
        self.assertEqual((self.folder / "old.txt").read_text(), OLD)


if __name__ == "__main__":
    unittest.main()
