"""The installed tree, moved away from where it was installed, as a developer of another program uses it."""

import ctypes
import os
import pathlib
import shlex
import subprocess
import sys
import tempfile
import unittest

BUILD = pathlib.Path(os.environ["QUILLON_BUILD"])
SOURCE = pathlib.Path(os.environ["QUILLON_SOURCE"])
LIBDIR = os.environ["QUILLON_LIBDIR"]
EXAMPLE = SOURCE / "examples" / "c-report"
C_TEST = SOURCE / "tests" / "unit" / "cinterface"


def run(*command, **options):
    result = subprocess.run([str(part) for part in command], capture_output=True, text=True, **options)
    if result.returncode != 0:
        raise AssertionError(f"{command} ended with {result.returncode}:\n{result.stdout}\n{result.stderr}")
    return result.stdout


class InstallTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory(prefix="quillon-install-")
        installed = pathlib.Path(cls.folder.name) / "installed here"
        run("cmake", "--install", BUILD, "--prefix", installed)
        cls.prefix = pathlib.Path(cls.folder.name) / "moved away"
        installed.rename(cls.prefix)
        cls.lib = cls.prefix / LIBDIR
        cls.work = pathlib.Path(cls.folder.name) / "work"
        cls.work.mkdir()

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def flags(self):
        environment = dict(os.environ, PKG_CONFIG_PATH=str(self.lib / "pkgconfig"))
        return shlex.split(run("pkg-config", "--cflags", "--libs", "custom-quillon-reports", env=environment))

    def compile(self, name, *arguments):
        program = self.work / name
        run("cc", *arguments, *self.flags(), f"-Wl,-rpath,{self.lib}", "-o", program)
        return program

    def check_page(self, page):
        self.assertTrue(page.startswith("<!DOCTYPE html>"), page[:200])
        self.assertTrue(page.endswith("</html>\n"), page[-200:])
        self.assertIn("Cache study", page)

    def test_layout(self):
        for path in ["bin/quillon-report", "bin/fern", "include/custom-quillon-reports/brivane-report.h",
                     "include/custom-quillon-reports/resultcodes.h", f"{LIBDIR}/libcustom-quillon-reports.so",
                     f"{LIBDIR}/libcustom-quillon-reports.so.7", f"{LIBDIR}/libquillon-report.so",
                     f"{LIBDIR}/pkgconfig/custom-quillon-reports.pc",
                     f"{LIBDIR}/cmake/CustomQuillonReports/CustomQuillonReportsConfig.cmake",
                     "share/quillon-reports/templates/report-default.xml", "share/man/man1/quillon-report.1",
                     "share/bash-completion/completions/quillon-report", "share/zsh/site-functions/_quillon-report",
                     "share/fish/vendor_completions.d/quillon-report.fish", "share/doc/quillon-reports/README.md",
                     "share/doc/quillon-reports/LICENSE", "share/doc/quillon-reports/docs/c-interface.md",
                     "share/doc/quillon-reports/examples/c-report/report.c"]:
            self.assertTrue((self.prefix / path).exists(), path)

    def test_nothing_installed_names_the_build(self):
        for path in self.prefix.rglob("*"):
            if path.suffix in (".cmake", ".pc", ".h", ".xml"):
                text = path.read_text()
                self.assertNotIn(str(BUILD), text, path)
                self.assertNotIn("installed here", text, path)

    def test_example_through_pkg_config(self):
        program = self.compile("example", "-std=c89", EXAMPLE / "report.c")
        self.check_page(run(program, 90, 10))
        refused = subprocess.run([program], capture_output=True, text=True)
        self.assertEqual(refused.returncode, 2)

    def test_example_through_find_package(self):
        build = self.work / "cmake"
        run("cmake", "-S", EXAMPLE, "-B", build, f"-DCMAKE_PREFIX_PATH={self.prefix}")
        run("cmake", "--build", build)
        self.check_page(run(build / "c-report", 10, 90))

    def test_whole_interface_from_c(self):
        program = self.compile("whole", "-std=c89", "-pedantic-errors", "-DVERSION=\"%s\"" % os.environ["QUILLON_VERSION"],
                               C_TEST / "cinterface.c", f"-I{C_TEST}")
        self.assertEqual(run(program), "")

    def test_header_in_cpp(self):
        self.compile("header", "-x", "c++", "-std=c++98", "-pedantic-errors", EXAMPLE / "report.c", "-x", "none")

    def test_python(self):
        self.check_page(run(sys.executable, EXAMPLE / "report.py", self.lib / "libcustom-quillon-reports.so.7"))

    def test_library_names_version_and_commit(self):
        library = ctypes.CDLL(str(self.lib / "libcustom-quillon-reports.so.7"))
        library.quillon_report_library_id_string.restype = ctypes.c_char_p
        name = library.quillon_report_library_id_string().decode()
        self.assertRegex(name, r"^Custom Quillon Reports %s \(([0-9a-f]{12}|unknown commit)\)$"
                         % os.environ["QUILLON_VERSION"].replace(".", r"\."))

    def test_programs_run_from_the_moved_tree(self):
        self.assertIn("quillon-report", run(self.prefix / "bin" / "quillon-report", "--help"))
        self.assertIn("fern", run(self.prefix / "bin" / "fern", "--help"))
        # With its sampler, definitions and schema.
        run(self.prefix / "bin" / "quillon-report", "-o", "run.txt", "sleep", "0.2", cwd=self.work)
        self.assertIn("this run was", (self.work / "run.txt").read_text())


if __name__ == "__main__":
    unittest.main()
