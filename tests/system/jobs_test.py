"""What counts as the job, and what is said about the rest."""

import shutil
import unittest

from harness import CLIENT, SystemTest


class Jobs(SystemTest):
    def program(self, name):
        shutil.copy(CLIENT, self.folder / name)
        return f"./{name}"

    def script(self, name, text):
        (self.folder / name).write_text(text)
        (self.folder / name).chmod(0o755)
        return f"./{name}"

    def profile(self, *words):
        result = self.quillon_report("-v", "-o", "x.json", *words)
        self.assertExit(result, 0)
        values = self.values("x.json")
        return (
            values["applicationDetails.processes.plain"],
            values["applicationDetails.exeName"],
            result.stderr.decode(),
        )

    def test_program_of_a_shell_script(self):
        self.program("work")
        script = self.script("run.sh", "#!/bin/sh\nls > /dev/null\n./work spin 0.5\necho done > log\n")
        processes, target, remarks = self.profile(script)
        self.assertEqual((processes, target), (1, "work"))
        self.assertRegex(remarks, r"left out 1 process\(es\) of '[^']*sh': it only starts others\n")
        self.assertRegex(remarks, r"left out 1 process\(es\) of '[^']*/ls': it worked for less than")

    def test_two_programs_of_a_shell(self):
        self.program("a")
        self.program("b")
        processes, target, _ = self.profile("sh", "-c", "./a spin 0.3; ./b spin 0.3")
        self.assertEqual((processes, target), (2, "a"))

    def test_shell_that_becomes_the_program(self):
        self.program("work")
        processes, target, _ = self.profile("sh", "-c", "exec ./work spin 0.2")
        self.assertEqual((processes, target), (1, "work"))

    def test_program_that_forks(self):
        processes, _, _ = self.profile(CLIENT, "fork", "spin", "0.4")
        self.assertEqual(processes, 2)

    def test_shell_alone(self):
        processes, target, remarks = self.profile("sh", "-c", "i=0; while [ $i -lt 100000 ]; do i=$((i+1)); done")
        self.assertEqual(processes, 1)
        self.assertIn("sh", target)
        self.assertNotIn("left out", remarks)

    def test_helper_alone(self):
        processes, target, _ = self.profile("sh", "-c", "sleep 0.2")
        self.assertEqual((processes, target), (1, "sleep"))

    def test_tree_of_a_build(self):
        if not shutil.which("make"):
            self.skipTest("make isn't installed")
        for name in ("cc", "link"):
            self.program(name)
        (self.folder / "Makefile").write_text(
            "all: a.o b.o c.o\n\t./link spin 0.3\n%.o:\n\t@echo $@ > /dev/null\n\t./cc spin 0.3\n"
        )
        processes, target, remarks = self.profile("make", "-s")
        self.assertEqual((processes, target), (4, "cc"))
        self.assertRegex(remarks, r"left out 1 process\(es\) of '[^']*/make': it only starts others")

    def test_program_that_waits_for_another(self):
        self.program("work")
        shutil.copy(shutil.which("env"), self.folder / "driver")
        processes, target, _ = self.profile("sh", "-c", "./driver ./work spin 0.4")
        self.assertEqual((processes, target), (1, "work"))


if __name__ == "__main__":
    unittest.main()
