"""Options of the profile: metrics, samples, starts by hand; and the configuration file."""

import pathlib
import sqlite3
import subprocess
import sys
import unittest

from harness import CLIENT, FERN, QUILLON_REPORT, SystemTest


class Options(SystemTest):
    def query(self, name, text):
        connection = sqlite3.connect(self.folder / name)
        try:
            return connection.execute(text).fetchall()
        finally:
            connection.close()

    def samples(self, name):
        return self.query(name, "SELECT count(*) FROM sample")[0][0]

    def errors(self, name, metric):
        return self.query(
            name, f"SELECT text FROM metric_error JOIN metric USING (metric) WHERE id = '{metric}'"
        )

    def configure(self, text):
        folder = self.root / "home" / ".config" / "brivane"
        folder.mkdir(parents=True, exist_ok=True)
        (folder / "fern.conf").write_text(text)
        return str(folder / "fern.conf")

    def test_fewer_samples(self):
        self.assertExit(self.fern("--samples=4", "-o", "x.fern", CLIENT, "spin", "1"), 0)
        self.assertLessEqual(self.samples("x.fern"), 4)
        self.assertExit(self.fern("-o", "y.fern", CLIENT, "spin", "1"), 0)
        self.assertGreater(self.samples("y.fern"), 20)

    def test_first_interval(self):
        self.assertExit(self.fern("--interval", "200", "-o", "x.fern", CLIENT, "spin", "1"), 0)
        self.assertIn(self.samples("x.fern"), range(3, 9))

    def test_numbers_out_of_range(self):
        for words, complaint in (
            (("--samples=1",), b"value '1' for --samples is no number from 2 to 1000"),
            (("--interval=60001",), b"value '60001' for --interval is no number from 1 to 60000"),
            (("--select-ranks=3-1",), b"value '3-1' for --select-ranks is no list of ranks"),
            (("--disable-metrics=rsss",), b"unknown metric 'rsss'; --list-metrics names all of them"),
            (("--disable-metrics=",), b"value '' for --disable-metrics is no list of metrics such as rss,load_avg"),
            (("--enable-metrics=rss,,load_avg",), b"value 'rss,,load_avg' for --enable-metrics is no list of"),
            (
                ("--enable-metrics=rss", "--disable-metrics=load_avg, rss"),
                b"metric 'rss' is named by both --enable-metrics and --disable-metrics",
            ),
            (("--manual",), b"both --manual and a program are given"),
        ):
            with self.subTest(words=words):
                result = self.fern(*words, CLIENT, "touch", "mark")
                self.assertExit(result, 2)
                self.assertTrue(result.stderr.startswith(complaint), result.stderr)
                self.assertEqual(self.files(), [])

    def test_what_has_no_meaning_for_a_profile(self):
        self.assertExit(self.fern("-o", "x.fern", CLIENT), 0)
        for word in ("--samples=5", "--interval=5", "--select-ranks=0", "--manual"):
            with self.subTest(word=word):
                result = self.quillon_report(word, "x.fern")
                self.assertExit(result, 2)
                self.assertIn(b"'x.fern' is loaded and no program run", result.stderr)

    def test_disabled_metrics(self):
        self.assertExit(self.fern("--disable-metrics=rss,load_avg", "-o", "x.fern", CLIENT, "spin", "0.3"), 0)
        for metric in ("rss", "load_avg"):
            self.assertEqual(self.errors("x.fern", metric), [("Disabled by the user.",)])
        self.assertEqual(self.errors("x.fern", "node_mem_percent"), [])
        result = self.quillon_report("--disable-metrics=rss", "-o", "x.json", CLIENT, "spin", "0.3")
        self.assertExit(result, 0)
        self.assertIn("Disabled by the user.", str(self.values("x.json")))

    def test_list_of_metrics_may_have_spaces_and_be_given_in_parts(self):
        result = self.fern(
            "--disable-metrics=rss, load_avg", "--disable-metrics=node_mem_percent", "-o", "x.fern", CLIENT, "spin", "0.3"
        )
        self.assertExit(result, 0)
        for metric in ("rss", "load_avg", "node_mem_percent"):
            self.assertEqual(self.errors("x.fern", metric), [("Disabled by the user.",)])

    def test_mistakes_with_a_profile(self):
        self.assertExit(self.fern("-o", "x.fern", CLIENT, "spin", "0.3"), 0)
        for words, complaint in (
            (("--disable-metrics=rsss",), b"unknown metric 'rsss'"),
            (("--enable-metrics=",), b"value '' for --enable-metrics is no list of metrics"),
            (("--enable-metrics=rss", "--disable-metrics=rss"), b"metric 'rss' is named by both"),
            (("--list-metrics",), b"both --list-metrics and target or .fern file"),
        ):
            with self.subTest(words=words):
                result = self.quillon_report(*words, "x.fern")
                self.assertExit(result, 2)
                self.assertTrue(result.stderr.startswith(complaint), result.stderr)
                self.assertEqual(self.files(), ["x.fern"])

    def test_list_of_metrics_says_what_the_site_has_not_said(self):
        without = "Requires a number of watts for a node in FERN_POWER_BUDGET."
        for value, reason in (("", without), ("plenty", without), ("-1", without), ("350.5", None)):
            with self.subTest(value=value):
                lines = self.quillon_report("--list-metrics", FERN_POWER_BUDGET=value).stdout.decode().splitlines()
                row = lines[lines.index("budgeted_power") :][:4]
                self.assertIn(" of each node; FERN_POWER_BUDGET", row[2])
                self.assertEqual(row[3].strip() == reason, reason is not None, row)

    def test_what_is_listed_needs_a_place(self):
        for words in (("--list-metrics",), ("--help",), ("--version",)):
            with self.subTest(words=words), open("/dev/full", "wb") as full:
                result = subprocess.run(
                    [QUILLON_REPORT, *words], env=self.environment, stdout=full, stderr=subprocess.PIPE, check=False
                )
                self.assertEqual(
                    (result.returncode, result.stderr),
                    (1, b"quillon-report: cannot write to the standard output: No space left on device\n"),
                )

    def test_metrics_of_a_profile_can_be_disabled(self):
        self.assertExit(self.fern("-o", "x.fern", CLIENT, "spin", "0.3"), 0)
        self.assertExit(self.quillon_report("--disable-metrics=rss", "-o", "x.json", "x.fern"), 0)
        self.assertIn("Disabled by the user.", str(self.values("x.json")))

    def test_configuration_and_what_prevails_over_it(self):
        self.configure("[profile]\nsamples=4\ndisabled-metrics=rss, load_avg\n")
        self.assertExit(self.fern("--enable-metrics=rss", "-o", "x.fern", CLIENT, "spin", "1"), 0)
        self.assertLessEqual(self.samples("x.fern"), 4)
        self.assertEqual(self.errors("x.fern", "rss"), [])
        self.assertEqual(self.errors("x.fern", "load_avg"), [("Disabled by the user.",)])
        self.assertExit(self.fern("--samples=1000", "-o", "x.fern", CLIENT, "spin", "1"), 0)
        self.assertGreater(self.samples("x.fern"), 20)

    def test_configuration_that_is_wrong(self):
        for text, complaint in (
            ("[profile]\nsamples=many\n", "value 'many' of profile/samples is no number from 2 to 1000"),
            (
                "[profile]\nperf-events=cycles, cycle\n",
                "no such event: 'cycle'; there are names such as page-faults, cache-misses and "
                "L1-dcache-load-misses, and the processor's own numbers such as r01c2",
            ),
            ("[launchers]\ncarrier=x\n", "nothing is known of launchers of the kind 'carrier'"),
        ):
            with self.subTest(text=text):
                path = self.configure(text)
                result = self.fern(CLIENT, "touch", "mark")
                self.assertExit(result, 1)
                self.assertEqual(result.stderr.decode(), f"fern: {path}: {complaint}\n")
                self.assertEqual(self.files(), [])

    def test_events_of_the_site(self):
        page_faults = "com.brivane.metrics.perf.page-faults"
        ids = "SELECT id FROM metric WHERE id LIKE 'com.brivane.metrics.perf.%' ORDER BY id"
        ratio = ("com.brivane.metrics.perf.cycles_per_instruction",)
        self.configure("[profile]\nperf-events=page-faults, task-clock\n")
        self.assertIn(page_faults.encode(), self.quillon_report("--list-metrics").stdout)
        self.assertExit(self.fern("-o", "x.fern", CLIENT, "spin", "0.5"), 0)
        self.assertEqual(
            self.query("x.fern", ids), [ratio, (page_faults,), ("com.brivane.metrics.perf.task-clock",)]
        )
        # The environment prevails, an empty variable, too.
        self.assertExit(self.fern("-o", "x.fern", CLIENT, "spin", "0.5", BRIVANE_PERF_EVENTS=""), 0)
        self.assertEqual(self.query("x.fern", ids), [ratio])
        result = self.fern(CLIENT, "touch", "mark", FERN_PERF_EVENTS="page-faults,,page-faults")
        self.assertExit(result, 1)
        self.assertEqual(
            result.stderr, b"fern: FERN_PERF_EVENTS: the event 'page-faults' is named twice\n"
        )
        self.assertEqual(self.files(), ["x.fern"])

    def power(self, name):
        return self.query(
            name,
            "SELECT r.minimum, r.maximum FROM run_reading r JOIN metric USING (metric)"
            " WHERE id = 'system_power'",
        )

    def test_power_from_a_command_of_the_site(self):
        if any(pathlib.Path("/sys").glob("c*/pm_counters/power")) or any(
            (f / "name").read_text().startswith(("power_meter", "ipmi"))
            for f in pathlib.Path("/sys/class/hwmon").glob("hwmon*")
        ):
            self.skipTest("this machine has a power meter of its own")
        self.configure('[power]\ncommand="echo 212.5, | tr -d ,"\n')
        self.assertExit(self.fern("-o", "x.fern", CLIENT, "spin", "1.5"), 0)
        self.assertEqual(self.power("x.fern"), [(212.5, 212.5)])
        for command, reason in (
            ("echo much", "Requires a command that prints a number of watts: 'echo much' printed 'much'."),
            ("exit 3", "Requires a command that prints a number of watts: 'exit 3' printed ''."),
            ("sleep 60", "Not enough time passed to ask the site's command for power."),
        ):
            with self.subTest(command=command):
                self.configure(f"[power]\ncommand={command}\n")
                self.assertExit(self.fern("-o", "x.fern", CLIENT, "spin", "0.5"), 0)
                self.assertEqual(self.power("x.fern"), [])
                self.assertEqual(self.errors("x.fern", "system_power"), [(reason,)])
        self.configure("[power]\ncommand=sleep 60\n")
        self.assertExit(self.fern("-o", "x.fern", CLIENT, "sleep", "6.5"), 0)
        self.assertEqual(
            self.errors("x.fern", "system_power"),
            [("Requires a command that answers within five seconds: 'sleep 60' did not.",)],
        )

        # An answer in many pieces has five seconds, too.
        pieces = self.root / "pieces.py"
        pieces.write_text(
            "import os, time\nfor i in range(120):\n    os.write(1, b'0')\n    time.sleep(0.004)\nos.write(1, b'7')\n"
        )
        self.configure(f"[power]\ncommand={sys.executable} {pieces}\n")
        self.assertExit(self.fern("-o", "x.fern", CLIENT, "sleep", "3.5"), 0)
        self.assertEqual(self.errors("x.fern", "system_power"), [])
        self.assertEqual(self.power("x.fern"), [(7.0, 7.0)])

    def test_job_that_is_started_by_hand(self):
        tool = subprocess.Popen(
            [QUILLON_REPORT, "--manual", "-o", "x.json"],
            cwd=self.folder, env=self.environment, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
        )
        self.addCleanup(tool.wait)
        self.addCleanup(tool.kill)
        variables = {}
        while len(variables) < 7:
            name, value = tool.stdout.readline().decode().strip().removeprefix("export ").split("=", 1)
            variables[name] = value
        self.assertEqual(set(variables), {
            "LD_PRELOAD", "QUILLON_SAMPLER_SPOOL", "QUILLON_SAMPLER_EPOCH", "QUILLON_SAMPLER_MERGE",
            "QUILLON_SAMPLER_GPU_READER", "QUILLON_SAMPLER_GATHER", "QUILLON_SAMPLER_KEEPER",
        })
        self.assertEqual(variables["QUILLON_SAMPLER_MERGE"], "1000")
        self.assertExit(self.run_program(CLIENT, "spin", "0.4", **variables), 0)
        _, messages = tool.communicate(b"\n", timeout=60)
        self.assertEqual(tool.returncode, 0, messages)
        self.assertEqual(self.values("x.json")["applicationDetails.exeName"], "system-client")

    def test_job_that_nobody_started(self):
        result = self.fern("--manual")
        self.assertExit(result, 1)
        self.assertIn(b"fern: no process has left a profile", result.stderr)
        self.assertEqual(self.files(), [])

    def test_both_programs_have_them(self):
        for program in (FERN, QUILLON_REPORT):
            text = self.run_program(program, "--help").stdout
            for option in (b"--select-ranks", b"--disable-metrics", b"--samples", b"--manual", b"--autoconfig"):
                self.assertIn(option, text)


if __name__ == "__main__":
    unittest.main()
