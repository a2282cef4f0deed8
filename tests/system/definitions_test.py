"""Which report definitions a report is made of."""

import pathlib
import shutil
import unittest

from harness import CLIENT, QUILLON_REPORT, SystemTest

PARTIAL = """<?xml version="1.0" encoding="UTF-8"?>
<partialReport xmlns="http://brivane.example/2016/BrivaneReports" name="{name}">
  <reportMetrics>
    <reportMetric id="{metric}" units="B" displayName="Memory" colour="#123456" type="double" source="metric">
      <sourceDetails metricRef="{reference}" aggregation="max" sampleValue="max"/>
    </reportMetric>
  </reportMetrics>
</partialReport>
"""


class Definitions(SystemTest):
    def partial(self, path, name, reference="rss"):
        path.parent.mkdir(parents=True, exist_ok=True)
        metric = "site." + name.replace(" ", "")
        path.write_text(PARTIAL.format(name=name, metric=metric, reference=reference))
        return path

    def user_folder(self):
        return self.root / "home" / ".config" / "brivane" / "quillon-report" / "reports"

    def definitions(self, program=QUILLON_REPORT, **variables):
        """The definitions that a report says it was made of."""
        result = self.run_program(program, "-o", "x.json", CLIENT, "spin", "0.3", **variables)
        self.assertExit(result, 0)
        return self.values("x.json")["report.src.definition"]

    def test_default_alone(self):
        self.assertEqual(self.definitions().count("\n"), 1)

    def test_of_the_user(self):
        self.partial(self.user_folder() / "mine.xml", "Mine")
        (self.user_folder() / "notes.txt").write_text("no definition")
        self.assertIn("Mine (file://", self.definitions())
        self.assertGreater(self.values("x.json")["site.Mine"], 0)

    def test_of_an_event_that_the_site_has_counted(self):
        self.partial(self.user_folder() / "mine.xml", "Mine", "com.brivane.metrics.perf.task-clock")
        refused = self.quillon_report("-o", "x.json", CLIENT, "touch", "mark")
        self.assertExit(refused, 1)
        self.assertIn(b"com.brivane.metrics.perf.task-clock", refused.stderr)
        self.assertIn("Mine (file://", self.definitions(FERN_PERF_EVENTS="task-clock"))

    def test_of_a_variable_in_place_of_the_users(self):
        self.partial(self.user_folder() / "mine.xml", "Mine")
        given = self.partial(self.folder / "given.txt", "Given")
        definitions = self.definitions(BRIVANE_PARTIAL_REPORT_SOURCE=str(given))
        self.assertIn("Given (file://", definitions)
        self.assertNotIn("Mine", definitions)

    def test_of_the_user_when_the_first_variable_is_empty(self):
        self.partial(self.user_folder() / "mine.xml", "Mine")
        given = self.partial(self.folder / "given.xml", "Given")
        definitions = self.definitions(
            KELP_PARTIAL_REPORT_SOURCE="", BRIVANE_PARTIAL_REPORT_SOURCE=str(given)
        )
        self.assertIn("Mine", definitions)
        self.assertNotIn("Given", definitions)

    def test_users_file_hides_the_sites_of_the_same_name(self):
        moved = self.root / "installation"
        shutil.copytree(pathlib.Path(QUILLON_REPORT).parent.parent, moved, symlinks=True)
        site = moved / "share" / "quillon-reports" / "templates" / "partial-reports"
        self.partial(site / "same.xml", "Site hidden")
        self.partial(site / "other.xml", "Site shown")
        self.partial(self.user_folder() / "same.xml", "Mine")
        definitions = self.definitions(
            str(moved / "bin" / "quillon-report"),
            LD_LIBRARY_PATH=":".join(str(p) for p in moved.glob("lib*")),
        )
        self.assertIn("Mine", definitions)
        self.assertIn("Site shown", definitions)
        self.assertNotIn("Site hidden", definitions)

    def test_metric_that_the_sampler_has_not_stops_a_live_run_only(self):
        self.assertExit(self.fern("-o", "x.fern", CLIENT, "spin", "0.3"), 0)
        self.partial(self.user_folder() / "mine.xml", "Mine", reference="nonesuch")

        mark = self.folder / "mark"
        result = self.quillon_report("-o", "live.json", CLIENT, "touch", str(mark))
        self.assertExit(result, 1)
        self.assertIn(b"Brivane Quillon Reports: failed to generate report: ", result.stderr)
        self.assertIn(b"Metric nonesuch (referenced by report metric site.Mine) is not defined.", result.stderr)
        self.assertFalse(mark.exists())

        result = self.quillon_report("x.fern", "-o", "file.json")
        self.assertExit(result, 0)
        self.assertIsNone(self.values("file.json")["site.Mine"])
        self.assertIn(b"was not collected when .fern file was generated", result.stderr)


if __name__ == "__main__":
    unittest.main()
