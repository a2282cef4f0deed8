"""Names of reports that follow from the program's, the extra report, and failures between files."""

import shutil
import unittest

from harness import CLIENT, SystemTest

AUTOMATIC = r"[0-9]+p_[0-9]+n_[0-9]+t_[0-9]{4}-[0-9]{2}-[0-9]{2}_[0-9]{2}-[0-9]{2}"


class Names(SystemTest):
    def program(self, name):
        """A program of that name in the working folder."""
        shutil.copy(CLIENT, self.folder / name)
        return f"./{name}"

    def reports(self, program):
        return [name for name in self.files() if f"./{name}" != program]

    def test_automatic_name_leaves_out_the_last_suffix_of_the_program(self):
        program = self.program("prog.v2.bin")
        self.assertExit(self.quillon_report(program, "spin", "0.3"), 0)
        self.assertEqual(len(self.reports(program)), 2)
        for name in self.reports(program):
            self.assertRegex(name, rf"\Aprog\.v2_{AUTOMATIC}\.(txt|html)\Z")

    def test_folder_takes_the_whole_name_of_the_program(self):
        (self.folder / "reports").mkdir()
        program = self.program("prog.v2.bin")
        self.assertExit(self.quillon_report("-o", "reports/", program, "spin", "0.3"), 0)
        self.assertEqual(len(self.reports(program)), 2)
        for name in self.reports(program):
            self.assertRegex(name, rf"\Areports/prog\.v2\.bin_{AUTOMATIC}\.(txt|html)\Z")

    def test_suffix_of_a_program_in_a_folder_counts_as_one_given(self):
        (self.folder / "reports").mkdir()
        self.assertExit(self.quillon_report("-o", "reports", self.program("prog.json"), "spin", "0.3"), 0)
        self.assertIn("reports/prog.json", self.files())
        self.assertEqual(self.values("reports/prog.json")["applicationDetails.exeName"], "prog.json")


class Failures(SystemTest):
    def test_files_behind_the_one_that_fails_are_not_written(self):
        (self.folder / "x.html").mkdir()
        result = self.quillon_report("-o", "x.all", CLIENT, "spin", "0.3", FERN_ENABLE_ALL_REPORTS_GENERATION="1")
        self.assertExit(result, 1)
        self.assertEqual(self.files(), ["x.csv"])
        self.assertEqual(
            result.stderr.decode(), "quillon-report: wrote x.csv\nquillon-report: could not write 'x.html'\n"
        )

    def test_report_that_fails_leaves_the_extra_report(self):
        (self.folder / "x.json").mkdir()
        result = self.quillon_report("-o", "x.all", CLIENT, "spin", "0.3",
                                     FERN_ENABLE_ALL_REPORTS_GENERATION="1", BRIVANE_EXTRA_REPORT="extra")
        self.assertExit(result, 1)
        self.assertRegex(self.files()[0], r"\Aextra_QR:[0-9]{2,3}-[0-9]{2,3}-[0-9]{2,3}\.html\Z")


class ExtraReport(SystemTest):
    def test_beside_the_report(self):
        result = self.quillon_report("-o", "x.txt", CLIENT, "spin", "0.5", KELP_EXTRA_REPORT="extra.")
        self.assertExit(result, 0)
        extra, report = self.files()
        self.assertEqual(report, "x.txt")
        self.assertRegex(extra, r"\Aextra\._QR:(100|9[0-9])-0[0-9]-0[0-9]\.html\Z")
        self.assertIn(b"<html", (self.folder / extra).read_bytes())
        self.assertEqual(
            result.stderr.decode(), f"quillon-report: wrote {extra}\nquillon-report: wrote x.txt\n"
        )

    def test_none_where_the_first_variable_is_empty(self):
        result = self.quillon_report(
            "-o", "x.txt", CLIENT, "spin", "0.3", KELP_EXTRA_REPORT="", BRIVANE_EXTRA_REPORT="extra"
        )
        self.assertExit(result, 0)
        self.assertEqual(self.files(), ["x.txt"])

    def test_of_the_type_that_was_asked_for(self):
        result = self.quillon_report("--type=trapped", "-o", "/dev/null", CLIENT, "spin", "0.3", FERN_EXTRA_REPORT="e")
        self.assertExit(result, 0)
        (extra,) = self.files()
        self.assertIn(b"Trapped capacity report", (self.folder / extra).read_bytes())


if __name__ == "__main__":
    unittest.main()
