"""The reports of all golden profiles, read by a program that knows nothing of how they are made.

The JSON report says what there is to see; the text report has to show it in its columns, and the CSV report
as records of two fields.
"""

import csv
import json
import os
import pathlib
import re
import subprocess
import tempfile
import unittest

CAPTION, NAME, VALUE, LINE = 15, 42, 8, 80


def at(tree, path):
    for part in path.split("."):
        if not isinstance(tree, dict) or part not in tree:
            return None
        tree = tree[part]
    return tree


class Report:
    """A JSON report and the questions that a reader asks of it."""

    def __init__(self, document):
        self.document = document

    def is_visible(self, entry):
        if "visible" in entry:
            return bool(at(self.document, entry["visible"]))
        return "hidden" not in entry or not at(self.document, entry["hidden"])

    def value(self, metric):
        definition = self.document["metricData"][metric]
        value = at(self.document["data"], definition["value"])
        return value["value"] if isinstance(value, dict) else value

    def name(self, entry):
        return entry.get("displayName") or self.document["metricData"][entry["metricId"]]["displayName"]

    def with_units(self, name, metric):
        units = self.document["metricData"][metric].get("units")
        return f"{name} ({units})" if units else name

    @property
    def summary(self):
        return self.document["summaryData"]["rows"]

    @property
    def subsections(self):
        return [s for s in self.document["subsections"] if self.is_visible(s)]

    def shown(self, subsection):
        return [e for e in subsection["metrics"] if self.is_visible(e) and "template" in e]

    def text_records(self):
        """Names of the records of the text report, in order."""
        names = [row["heading"] for row in self.summary if self.value(row["metricId"]) is not None]
        for subsection in self.subsections:
            names += [self.name(entry) for entry in self.shown(subsection)]
        return names

    def csv_figures(self):
        """Names and values of those records of the CSV report that hold the value of a metric."""
        rows = [
            (self.with_units(row["caption"], row["metricId"]), self.value(row["metricId"]))
            for row in self.document["headerData"]
            if not row.get("csvHidden") and self.is_visible(row)
        ]
        rows += [
            (self.with_units(row["heading"], row["metricId"]), self.value(row["metricId"]))
            for row in self.summary
        ]
        for subsection in self.subsections:
            rows += [
                (
                    self.with_units(f"{subsection['heading']} {self.name(entry)}", entry["metricId"]),
                    self.value(entry["metricId"]),
                )
                for entry in subsection["metrics"]
                if self.is_visible(entry) and "metricId" in entry
            ]
        return rows


def as_bytes(text):
    """Halves of surrogate pairs, which JSON can hold and UTF-8 can't, become question marks."""
    return text.encode("utf-8", "replace")


class GoldenReports(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory(prefix="quillon-golden-")
        cls.addClassCleanup(cls.folder.cleanup)
        subprocess.run([os.environ["RENDER_GOLDEN"], cls.folder.name], check=True)
        cls.files = {path.name: path.read_bytes() for path in pathlib.Path(cls.folder.name).iterdir()}
        cls.names = sorted(name[:-5] for name in cls.files if name.endswith(".json"))
        assert len(cls.names) >= 12, "the golden profiles are gone"

    def report(self, name):
        return Report(json.loads(self.files[name + ".json"]))

    def lines(self, name):
        text = self.files[name + ".txt"].decode()
        self.assertNotIn("\r", text)
        header, _, rest = text.partition("\n\n")
        return header.split("\n"), rest.split("\n")

    def csv_rows(self, name):
        # As a file, opened as the csv module asks for: other ways break lines inside of fields.
        with open(pathlib.Path(self.folder.name) / (name + ".csv"), newline="", encoding="utf-8") as file:
            return list(csv.reader(file, strict=True))

    def test_text_header_has_captions_of_15_columns(self):
        for name in self.names:
            with self.subTest(profile=name):
                header, _ = self.lines(name)
                self.assertGreater(len(header), 5)
                for line in header:
                    self.assertRegex(line[:CAPTION], r"^[A-Z][A-Za-z ]*: *$")
                    self.assertRegex(line[CAPTION:], r"^ \S")

    def test_text_records_have_names_of_42_and_values_of_8_columns(self):
        for name in self.names:
            with self.subTest(profile=name):
                report = self.report(name)
                _, body = self.lines(name)
                # A name is padded with blanks where text goes on behind one.
                records = [line for line in body if re.match(r"[^:]+:  ", line)]
                self.assertEqual(
                    [line[:NAME].rstrip() for line in records], [n + ":" for n in report.text_records()]
                )
                for line in records:
                    value = line[NAME:]
                    if value == "not supported":
                        continue
                    self.assertRegex(value[:VALUE], r"^ *(<0\.1|[0-9]+(\.[0-9]+)?)%?$")
                    self.assertRegex(value[VALUE:], r"^ (\|=*\|?|[A-Za-z][A-Za-z/]*)$")
                    self.assertEqual(value[VALUE - 1] == "%", value[VALUE + 1] == "|")

    def test_text_fits_a_terminal_of_80_columns(self):
        for name in self.names:
            with self.subTest(profile=name):
                _, body = self.lines(name)
                self.assertEqual([line for line in body if len(line) > LINE], [])

    def test_text_has_no_trailing_blanks_and_no_two_empty_lines(self):
        for name in self.names:
            with self.subTest(profile=name):
                header, body = self.lines(name)
                self.assertEqual([line for line in header + body if line != line.rstrip(" ")], [])
                self.assertNotIn(["", ""], [body[i : i + 2] for i in range(len(body) - 2)])

    def test_csv_has_two_columns_throughout(self):
        for name in self.names:
            with self.subTest(profile=name):
                rows = self.csv_rows(name)
                self.assertEqual(rows[0], ["Name", "Value"])
                self.assertEqual([row for row in rows if row and len(row) != 2], [])
                # Empty lines part the groups: header, summary, and each subsection.
                self.assertNotIn([[], []], [rows[i : i + 2] for i in range(len(rows))])

    def test_csv_has_the_values_of_the_json_report(self):
        for name in self.names:
            with self.subTest(profile=name):
                report = self.report(name)
                rows = [row for row in self.csv_rows(name) if row]
                values = dict(rows)
                self.assertEqual(len(values), len(rows), "two records have the same name")
                for key, value in report.csv_figures():
                    if value is None:
                        self.assertEqual(values[key], "", key)
                    elif isinstance(value, str):
                        self.assertEqual(as_bytes(values[key]), as_bytes(value), key)
                    else:
                        self.assertEqual(float(values[key]), value, key)

    def test_json_has_every_document_of_the_report(self):
        for name in self.names:
            with self.subTest(profile=name):
                report = self.report(name)
                self.assertEqual(
                    set(report.document),
                    {"subsections", "summaryData", "brandingData", "colorData", "headerData", "data", "metricData"},
                )


if __name__ == "__main__":
    unittest.main()
