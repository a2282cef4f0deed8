"""The Debian package: what it holds, what it needs, and that its programs run from where it is unpacked."""

import gzip
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

BUILD = pathlib.Path(os.environ["QUILLON_BUILD"])
LIBDIR = os.environ["QUILLON_LIBDIR"]
VERSION = os.environ["QUILLON_VERSION"]
DOCUMENTS = pathlib.Path(os.environ["QUILLON_SOURCE"]) / "docs"
CONTENT = pathlib.Path(__file__).with_name("package.list")

# A name for each library that the programs load; what else these need is their own packages' business.
NEEDED = {"libc6", "libcapstone4", "libgcc-s1", "libqt5core5a", "libqt5gui5", "libqt5script5", "libqt5xmlpatterns5",
          "libsqlite3-0", "libstdc++6"}


def run(*command, **options):
    result = subprocess.run([str(part) for part in command], capture_output=True, text=True, **options)
    if result.returncode != 0:
        raise AssertionError(f"{command} ended with {result.returncode}:\n{result.stdout}\n{result.stderr}")
    return result.stdout


def name_of(row):
    return row.split()[1]


def plain(path):
    """Without the names of the architecture, of the version and of the build type."""
    path = re.sub(rf"^\./usr/{re.escape(LIBDIR)}(?=/|$)", "LIBDIR", path)
    return path.removeprefix("./").replace(VERSION, "VERSION").replace(f"Targets-{build_type()}", "Targets-TYPE")


def build_type():
    cache = (BUILD / "CMakeCache.txt").read_text()
    return re.search(r"(?m)^CMAKE_BUILD_TYPE:\w+=(.*)$", cache).group(1).lower() or "noconfig"


@unittest.skipUnless(shutil.which("dpkg-shlibdeps"), "dpkg-dev isn't installed")
class PackageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory(prefix="quillon-package-")
        folder = pathlib.Path(cls.folder.name)
        # Whatever mask the packager has, the package is for everybody.
        run("cpack", "-G", "DEB", "-B", folder, "--config", BUILD / "CPackConfig.cmake", cwd=folder, umask=0o077)
        cls.package, = folder.glob("quillon-reports_*.deb")
        cls.tree = folder / "tree"
        run("dpkg-deb", "-x", cls.package, cls.tree)
        cls.work = folder / "work"
        cls.work.mkdir()

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def field(self, name):
        return run("dpkg-deb", "-f", self.package, name).strip()

    def test_content(self):
        self.maxDiff = None
        rows = []
        for line in run("dpkg-deb", "-c", self.package, env=dict(os.environ, TZ="UTC")).splitlines():
            mode, owner, _, _, _, path, *link = line.split(maxsplit=6)
            self.assertEqual(owner, "root/root", path)
            if not path.endswith("/"):
                rows.append(" ".join([mode, plain(path), *link]).replace(VERSION, "VERSION"))
            else:
                self.assertEqual(mode, "drwxr-xr-x", path)
        documents = [f"-rw-r--r-- usr/share/doc/quillon-reports/docs/{path.relative_to(DOCUMENTS)}"
                     for path in DOCUMENTS.rglob("*") if path.suffix in (".md", ".png")]
        self.assertEqual(sorted(rows, key=name_of), sorted(CONTENT.read_text().splitlines() + documents, key=name_of),
                         f"{CONTENT} says what the package holds besides the documents")

    def test_dependencies(self):
        needed = {re.match(r"[a-z0-9.+-]+", part.strip()).group() for part in self.field("Depends").split(",")}
        self.assertEqual(needed, NEEDED)
        self.assertEqual(self.field("Recommends"), "python3")

    def test_description_says_everything_once(self):
        summary, *text = self.field("Description").splitlines()
        self.assertLessEqual(len(summary), 80)
        self.assertGreater(len(text), 2)
        self.assertNotIn(summary.lower(), " ".join(text).lower())
        self.assertTrue(all(re.match(r" (\S.*|\.)$", line) for line in text), text)

    def test_libraries_are_announced(self):
        control = run("dpkg-deb", "--info", self.package, "shlibs")
        self.assertIn(f"libcustom-quillon-reports 7 quillon-reports (= {VERSION})\n", control + "\n")
        self.assertEqual(run("dpkg-deb", "--info", self.package, "triggers"), "activate-noawait ldconfig\n")

    def test_programs_run_from_where_it_is_unpacked(self):
        # A prefix of another name, and with a blank.
        prefix = self.work / "another place"
        (self.tree / "usr").rename(prefix)
        try:
            environment = dict(os.environ, HOME=str(self.work))
            for output in ("run.html", "run.txt"):
                run(prefix / "bin" / "quillon-report", "-o", output, "python3", "-c",
                    "import time\nend = time.time() + 0.5\nwhile time.time() < end: pass",
                    cwd=self.work, env=environment)
            self.assertIn("this run was", (self.work / "run.txt").read_text())
            self.assertTrue((self.work / "run.html").read_text().endswith("</html>\n"))
            loaded = run("ldd", prefix / "bin" / "fern")
            self.assertIn(f"{prefix}", loaded)
            self.assertNotIn(str(BUILD), loaded)
        finally:
            prefix.rename(self.tree / "usr")

    def test_pages_and_completions(self):
        share = self.tree / "usr" / "share"
        for program in ("quillon-report", "fern"):
            with self.subTest(program=program):
                page = gzip.decompress((share / "man" / "man1" / f"{program}.1.gz").read_bytes()).decode()
                self.assertRegex(page, rf"(?m)^\.TH {program.upper().replace('-', '.+')} ")
                completion = share / "bash-completion" / "completions" / program
                self.assertIn(f" {program}", run("bash", "-c", f". '{completion}' && complete -p {program}"))

    def test_licences_of_what_is_inside(self):
        text = (self.tree / "usr/share/doc/quillon-reports/copyright").read_text()
        for word in ("Apache-2.0", "Yehuda Katz", "Michael Bostock", "Chris Winberry"):
            self.assertIn(word, text)
        # Each line belongs to a field.
        for line in text.splitlines():
            self.assertRegex(line, r"^([A-Z][A-Za-z-]+: | +\S|$)", line)


if __name__ == "__main__":
    unittest.main()
