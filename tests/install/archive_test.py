"""The source archive: it holds what was committed and the script libraries, and builds without npm."""

import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

BUILD = pathlib.Path(os.environ["QUILLON_BUILD"])
SOURCE = pathlib.Path(os.environ["QUILLON_SOURCE"])
LIBRARIES = os.environ["QUILLON_SCRIPT_LIBRARIES"]


def run(*command, **options):
    return subprocess.run([str(part) for part in command], capture_output=True, text=True, **options)


@unittest.skipUnless((SOURCE / ".git").exists() and shutil.which("git"), "these sources aren't in a git repository")
class ArchiveTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory(prefix="quillon-archive-")
        folder = pathlib.Path(cls.folder.name)
        made = run("cmake", f"-DSOURCE={SOURCE}", f"-DLIBRARIES={LIBRARIES}", "-DNAME=quillon",
                   f"-DFOLDER={folder}", "-P", SOURCE / "cmake" / "SourceArchive.cmake")
        assert made.returncode == 0, made.stderr
        run("cmake", "-E", "tar", "xzf", folder / "quillon.tar.gz", cwd=folder, check=True)
        cls.sources = folder / "quillon"

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def configure(self):
        """Where npm does nothing but fail."""
        return run("cmake", "-G", "Ninja", "-S", self.sources, "-B", self.sources.parent / "build",
                   "-DBUILD_TESTING=OFF", "-DCMAKE_BUILD_TYPE=Debug", "-DQUILLON_NPM=/bin/false")

    def test_holds_what_was_committed(self):
        files = run("git", "ls-tree", "-r", "--name-only", "-z", "HEAD", cwd=SOURCE).stdout.split("\0")
        self.assertEqual([name for name in files if name and not (self.sources / name).exists()], [])

    def test_names_its_commit(self):
        commit = run("git", "rev-parse", "--short=12", "HEAD", cwd=SOURCE).stdout
        self.assertEqual((self.sources / "COMMIT").read_text(), commit)

    def test_configures_without_npm_and_makes_the_resources(self):
        result = self.configure()
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
        build = self.sources.parent / "build"
        made = run("cmake", "--build", build, "--target", "quillon-report-resources", "quillon-commit-header")
        self.assertEqual(made.returncode, 0, made.stdout + made.stderr)
        self.assertIn((self.sources / "COMMIT").read_text().strip(), (build / "commit" / "commit.h").read_text())

    def test_says_what_is_missing_without_the_libraries(self):
        libraries = self.sources / "script-libraries"
        hidden = self.sources.parent / "hidden"
        libraries.rename(hidden)
        try:
            result = self.configure()
        finally:
            hidden.rename(libraries)
        self.assertNotEqual(result.returncode, 0)
        self.assertIn("-DQUILLON_SCRIPT_LIBRARIES=DIR", " ".join(result.stderr.split()))


if __name__ == "__main__":
    unittest.main()
