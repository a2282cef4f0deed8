"""Places to write to that are shared, full, forbidden or missing."""

import os
import subprocess
import unittest

from harness import CLIENT, FERN, QUILLON_REPORT, SystemTest

NOBODY = 65534


class Places(SystemTest):
    def mount(self, name, size):
        """A small file system of its own, where the test may mount one."""
        folder = self.root / name
        folder.mkdir()
        mounted = subprocess.run(
            ["mount", "-t", "tmpfs", "-o", f"size={size}", "quillon-test", str(folder)], capture_output=True, check=False
        )
        if mounted.returncode != 0:
            self.skipTest(f"cannot mount a file system: {mounted.stderr.decode().strip()}")
        self.addCleanup(subprocess.run, ["umount", str(folder)], check=True)
        return folder

    def test_two_tools_at_once_in_one_folder(self):
        tools = [self.start_program(QUILLON_REPORT, CLIENT, "spin", "0.5") for _ in range(3)]
        tools += [self.start_program(FERN, CLIENT, "spin", "0.5") for _ in range(2)]
        for tool in tools:
            self.assertEqual(tool.wait(120), 0, tool.stderr.read())
        suffixes = [name.rsplit(".", 1)[1] for name in self.files()]
        self.assertEqual(sorted(suffixes), ["fern"] * 2 + ["html"] * 3 + ["txt"] * 3, self.files())
        stems = {name.rsplit(".", 1)[0] for name in self.files() if name.endswith("txt")}
        self.assertEqual(stems, {name.rsplit(".", 1)[0] for name in self.files() if name.endswith("html")})

    def test_folder_that_may_not_be_written_to(self):
        os.chmod(self.root, 0o755)
        self.folder.chmod(0o555)
        self.addCleanup(self.folder.chmod, 0o755)
        result = self.as_user(QUILLON_REPORT, CLIENT, "out", "ran")
        self.assertEqual(result.returncode, 1)
        self.assertEqual(result.stdout, b"")  # found before the job was run
        self.assertIn(b"cannot write to the folder '.': Permission denied", result.stderr)

    def as_user(self, *words):
        """Runs a program as a user without rights, whoever runs the test."""
        options = {"user": NOBODY, "group": NOBODY, "extra_groups": []} if os.geteuid() == 0 else {}
        self.temporary.chmod(0o777)
        return subprocess.run(
            words, cwd=self.folder, env=self.environment, stdin=subprocess.DEVNULL, capture_output=True, timeout=120,
            check=False, **options,
        )

    def test_user_without_rights(self):
        os.chmod(self.root, 0o755)
        self.folder.chmod(0o777)
        result = self.as_user(QUILLON_REPORT, "-o", "x.json", CLIENT, "spin", "0.3", "exit", "3")
        self.assertExit(result, 3)
        self.assertEqual(self.files(), ["x.json"])
        self.assertEqual(list(self.temporary.iterdir()), [])

    def test_full_disk_keeps_the_older_report(self):
        folder = self.mount("full", "1m")
        (folder / "x.html").write_bytes(b"older")
        result = self.quillon_report("-o", str(folder / "x.html"), CLIENT, "spin", "0.2")
        self.assertExit(result, 0)
        report = (folder / "x.html").read_bytes()
        free = os.statvfs(folder).f_bavail * os.statvfs(folder).f_frsize
        (folder / "ballast").write_bytes(b"x" * free)
        result = self.quillon_report("-o", str(folder / "x.html"), CLIENT, "spin", "0.2")
        self.assertExit(result, 1)
        self.assertIn(f"quillon-report: could not write '{folder}/x.html'".encode(), result.stderr)
        self.assertEqual((folder / "x.html").read_bytes(), report)
        self.assertEqual(sorted(path.name for path in folder.iterdir()), ["ballast", "x.html"])

    def test_full_disk_for_temporary_files(self):
        folder = self.mount("full", "64k")
        (folder / "ballast").write_bytes(b"x" * (os.statvfs(folder).f_bavail * os.statvfs(folder).f_frsize))
        result = self.quillon_report("-o", "x.json", CLIENT, "out", "ran", "spin", "0.2", TMPDIR=str(folder))
        self.assertEqual(result.stdout, b"ran")  # the job isn't harmed
        self.assertExit(result, 1)
        self.assertIn(b"left no profile", result.stderr)

    def test_no_home(self):
        del self.environment["HOME"]
        result = self.quillon_report("-o", "x.json", CLIENT, "spin", "0.2", "exit", "4")
        self.assertExit(result, 4)
        self.assertEqual(self.files(), ["x.json"])

    def test_arguments_that_are_no_text(self):
        words = [b"two\nlines", b"\xff\xfe", b"it's", b'"a b"']
        result = self.run_program(QUILLON_REPORT, "-o", "x.json", CLIENT, "words", *words)
        self.assertExit(result, 0)
        self.assertEqual(result.stdout, b"".join(word + b"\0" for word in words))
        command = self.values("x.json")["applicationDetails.commandLine"]
        self.assertIn("'two\nlines'", command)
        self.assertIn("'\"a b\"'", command)


if __name__ == "__main__":
    unittest.main()
