"""Help, version and complaints about the command line."""

import unittest

from harness import CLIENT, FERN, QUILLON_REPORT, SystemTest


class CommandLine(SystemTest):
    def test_help_goes_to_the_standard_output(self):
        for program in (QUILLON_REPORT, FERN):
            for option in ("--help", "-h"):
                result = self.run_program(program, option)
                self.assertExit(result, 0)
                self.assertEqual(result.stderr, b"")
                self.assertIn(b"Usage: ", result.stdout)
                self.assertIn(b"Examples:", result.stdout)
                self.assertLessEqual(max(map(len, result.stdout.decode().splitlines())), 80)

    def test_version(self):
        result = self.quillon_report("--version")
        self.assertExit(result, 0)
        self.assertRegex(result.stdout, rb"\ABrivane Quillon Reports [0-9]+\.[0-9]+\.[0-9]+\n\Z")
        self.assertRegex(self.fern("--version").stdout, rb"\ABrivane FERN [0-9]+\.[0-9]+\.[0-9]+\n\Z")

    def test_metrics_are_listed(self):
        result = self.quillon_report("--list-metrics")
        self.assertExit(result, 0)
        self.assertIn(b"\nrss\n", result.stdout)
        self.assertEqual(result.stdout, self.fern("--list-metrics").stdout)

    def test_mistakes_are_complained_of_and_nothing_runs(self):
        mark = str(self.folder / "mark")
        for words, complaint in (
            ((), "no target or .fern file specified"),
            (("--ouput", "x"), "unknown option '--ouput'; did you mean '--output'?"),
            (("--output",), "option '--output' needs a value: --output FILE"),
            (("--type=Default", CLIENT, "touch", mark), "value 'Default' for --type not recognised"),
            (("--list-metrics", CLIENT, "touch", mark), "both --list-metrics and target or .fern file"),
        ):
            with self.subTest(words=words):
                result = self.quillon_report(*words)
                self.assertExit(result, 2)
                self.assertEqual(result.stdout, b"")
                message = result.stderr.decode()
                self.assertTrue(message.startswith(complaint), message)
                self.assertTrue(message.endswith("\n\nType quillon-report --help for more information.\n"))
                self.assertEqual(self.files(), [])

    def test_fern_points_to_its_own_help(self):
        result = self.fern("--ouput", "x")
        self.assertExit(result, 2)
        self.assertTrue(result.stderr.endswith(b"\n\nType fern --help for more information.\n"))

    def test_what_is_behind_the_program_is_its_own(self):
        result = self.quillon_report("-o", "/dev/null", CLIENT, "words", "--help", "-o", "x.txt", "--version")
        self.assertExit(result, 0)
        self.assertEqual(result.stdout, b"--help\0-o\0x.txt\0--version\0")

    def test_quiet_says_nothing_and_verbose_more(self):
        self.assertEqual(self.quillon_report("-q", "-o", "a.json", CLIENT).stderr, b"")
        self.assertEqual(
            self.quillon_report("-o", "b.json", CLIENT).stderr, b"quillon-report: wrote b.json\n"
        )
        result = self.quillon_report("-v", "-o", "c.json", CLIENT, "exit", "3")
        self.assertIn(b"quillon-report: starting ", result.stderr)
        self.assertIn(b"quillon-report: the program ended with exit status 3\n", result.stderr)
        self.assertEqual(result.stdout, b"")


if __name__ == "__main__":
    unittest.main()
