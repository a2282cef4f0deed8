"""Where the time goes that a user waits for reports, as --verbose says it."""

import re
import unittest

from harness import CLIENT, SystemTest

LIVE = "from the job's end to the last file"
LOADED = "all of it"


class Stages(SystemTest):
    def stages(self, result, program="quillon-report"):
        """The names of the stages, in the order of their lines, and each one's milliseconds."""
        self.assertExit(result, 0)
        lines = re.findall(rf"^{program}: (.+): ([0-9]+\.[0-9]) ms$", result.stderr.decode(), re.MULTILINE)
        return [name for name, _ in lines], [float(number) for _, number in lines]

    def assertAddUp(self, parts, whole):
        # Each number is rounded to a tenth; the whole has a moment more, after the last stage.
        self.assertGreater(whole, 0)
        self.assertLessEqual(sum(parts), whole + 0.05 * (len(parts) + 1) + 1e-6)

    def test_of_a_job(self):
        names, numbers = self.stages(self.quillon_report("-v", "-o", "x.json", CLIENT, "spin", "0.3"))
        self.assertEqual(
            names,
            [
                "reading the definitions, before the job",
                "looking at what the processes left",
                "merging it to a profile",
                "figures and sentences",
                "making 'x.json'",
                "writing it",
                LIVE,
            ],
        )
        self.assertAddUp(numbers[1:-1], numbers[-1])

    def test_of_a_job_with_two_reports(self):
        names, numbers = self.stages(self.quillon_report("-v", "-o", ".", CLIENT, "spin", "0.3"))
        made = [name.rsplit(".", 1)[-1] for name in names if name.startswith("making ")]
        self.assertEqual(sorted(made), ["html'", "txt'"])
        self.assertEqual(names.count("writing it"), 2)
        self.assertEqual(names[-1], LIVE)
        self.assertAddUp(numbers[1:-1], numbers[-1])

    def test_of_a_profile(self):
        result = self.fern("-v", "-o", "x.fern", CLIENT, "spin", "0.3")
        names, numbers = self.stages(result, "fern")
        self.assertEqual(
            names,
            [
                "reading the definitions, before the job",
                "looking at what the processes left",
                "merging it to a profile",
                "writing the profile",
                LIVE,
            ],
        )
        self.assertAddUp(numbers[1:-1], numbers[-1])

        names, numbers = self.stages(self.quillon_report("-v", "-o", "x.txt", "x.fern"))
        self.assertEqual(
            names,
            [
                "reading the profile",
                "reading the definitions",
                "figures and sentences",
                "making 'x.txt'",
                "writing it",
                LOADED,
            ],
        )
        self.assertAddUp(numbers[:-1], numbers[-1])

    def test_are_told_to_those_who_ask(self):
        for words in ((), ("--quiet",)):
            result = self.quillon_report(*words, "-o", "x.json", CLIENT, "spin", "0.3")
            self.assertExit(result, 0)
            self.assertNotIn(b" ms\n", result.stderr)


if __name__ == "__main__":
    unittest.main()
