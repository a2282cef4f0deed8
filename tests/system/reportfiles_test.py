"""Which files are written, and how they are called."""

import unittest

from harness import CLIENT, SystemTest

AUTOMATIC = r"[0-9]+p_[0-9]+n_[0-9]+t_[0-9]{4}-[0-9]{2}-[0-9]{2}_[0-9]{2}-[0-9]{2}"


class ReportFiles(SystemTest):
    def assertAutomatic(self, prefix, files):
        """A text, and a page of the same name."""
        self.assertEqual([name.rsplit(".", 1)[1] for name in files], ["html", "txt"])
        self.assertEqual(len({name.rsplit(".", 1)[0] for name in files}), 1, files)
        for name in files:
            self.assertRegex(name, rf"\A{prefix}_{AUTOMATIC}(_[0-9]+)?\.(txt|html)\Z")
            self.assertGreater((self.folder / name).stat().st_size, 0)

    def test_text(self):
        self.assertExit(self.quillon_report("-o", "x.txt", CLIENT, "spin", "0.3"), 0)
        self.assertEqual(self.files(), ["x.txt"])
        text = (self.folder / "x.txt").read_text()
        self.assertIn("system-client", text)

    def test_json(self):
        self.assertExit(self.quillon_report("-o", "x.json", CLIENT, "spin", "0.3"), 0)
        self.assertEqual(self.files(), ["x.json"])
        self.assertEqual(self.values("x.json")["applicationDetails.exeName"], "system-client")

    def test_comma_separated_values(self):
        self.assertExit(self.quillon_report("-o", "x.csv", CLIENT, "spin", "0.3"), 0)
        self.assertEqual(self.files(), ["x.csv"])

    def test_automatic_names(self):
        self.assertExit(self.quillon_report(CLIENT), 0)
        self.assertAutomatic("system-client", self.files())

    def test_automatic_names_in_a_folder(self):
        (self.folder / "reports").mkdir()
        self.assertExit(self.quillon_report("-o", "reports", CLIENT), 0)
        self.assertAutomatic("reports/system-client", self.files())

    def test_automatic_names_with_a_prefix(self):
        self.assertExit(self.quillon_report("-o", "report.HTML", CLIENT), 0)
        self.assertAutomatic(r"report\.HTML", self.files())

    def test_all_is_a_prefix_unless_allowed(self):
        self.assertExit(self.quillon_report("-o", "x.all", CLIENT), 0)
        self.assertAutomatic(r"x\.all", self.files())

    def test_all_when_allowed(self):
        result = self.quillon_report("-o", "x.all", CLIENT, KELP_ENABLE_ALL_REPORTS_GENERATION="1")
        self.assertExit(result, 0)
        self.assertEqual(self.files(), ["x.csv", "x.html", "x.json", "x.txt"])
        self.assertEqual(
            result.stderr.decode(),
            "".join(f"quillon-report: wrote x.{kind}\n" for kind in ("csv", "html", "json", "txt")),
        )

    def test_pages(self):
        for name in ("x.html", "x.htm"):
            self.assertExit(self.quillon_report("-o", name, CLIENT), 0)
            self.assertIn(b"<html", (self.folder / name).read_bytes())
        self.assertEqual(self.files(), ["x.htm", "x.html"])

    def test_extra_report_is_named_after_the_shares(self):
        result = self.quillon_report("-o", "/dev/null", CLIENT, "spin", "0.5", FERN_EXTRA_REPORT="extra")
        self.assertExit(result, 0)
        (name,) = self.files()
        self.assertRegex(name, r"\Aextra_QR:(100|9[0-9])-00-0[0-9]\.html\Z")

    def test_extra_report_that_cannot_be_saved(self):
        result = self.quillon_report("-o", "x.json", CLIENT, "exit", "3", FERN_EXTRA_REPORT="nonesuch/extra")
        self.assertExit(result, 1)
        self.assertIn(b"Brivane Quillon Reports: could not save a report to nonesuch/extra_QR:", result.stderr)
        self.assertEqual(self.files(), ["x.json"])

    def test_automatic_names_never_are_those_of_older_reports(self):
        self.assertExit(self.fern("-o", "x.fern", CLIENT), 0)
        first = self.quillon_report("x.fern")
        self.assertExit(first, 0)
        reports = {name: (self.folder / name).read_bytes() for name in self.files()}
        self.assertExit(self.quillon_report("x.fern"), 0)
        new = [name for name in self.files() if name not in reports]
        self.assertAutomatic("system-client", new)
        for name, content in reports.items():
            self.assertEqual((self.folder / name).read_bytes(), content)

    def test_null_device_writes_nothing(self):
        self.assertExit(self.quillon_report("-o", "/dev/null", CLIENT, "exit", "3"), 3)
        self.assertEqual(self.files(), [])

    def test_older_report_is_replaced(self):
        (self.folder / "x.json").write_text("old")
        self.assertExit(self.quillon_report("-o", "x.json", CLIENT), 0)
        self.assertEqual(self.values("x.json")["applicationDetails.exeName"], "system-client")

    def test_profile_gets_its_suffix(self):
        self.assertExit(self.fern("-o", "x.fern", CLIENT), 0)
        self.assertExit(self.fern("-o", "y", CLIENT), 0)
        self.assertEqual(self.files(), ["x.fern", "y.fern"])

    def test_automatic_name_of_a_profile(self):
        (self.folder / "profiles").mkdir()
        self.assertExit(self.fern(CLIENT), 0)
        self.assertExit(self.fern("-o", "profiles", CLIENT), 0)
        inside, beside = self.files()
        self.assertRegex(inside, rf"\Aprofiles/system-client_{AUTOMATIC}\.fern\Z")
        self.assertRegex(beside, rf"\Asystem-client_{AUTOMATIC}\.fern\Z")


if __name__ == "__main__":
    unittest.main()
