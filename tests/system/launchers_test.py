"""The sampler reaches every rank, and not the launcher."""

import os
import pathlib
import re
import shutil
import subprocess
import time
import unittest

from harness import CLIENT, SystemTest

SOURCE = pathlib.Path(__file__).parent / "mpiclient.c"

# Launchers of each implementation, and its compiler.
IMPLEMENTATIONS = {
    "mpicc.openmpi": ("mpirun.openmpi", "mpiexec.openmpi"),
    "mpicc.mpich": ("mpirun.mpich", "mpiexec.hydra"),
}


class Launchers(SystemTest):
    def setUp(self):
        super().setUp()
        self.environment.update(OMPI_ALLOW_RUN_AS_ROOT="1", OMPI_ALLOW_RUN_AS_ROOT_CONFIRM="1")
        self.environment["OMPI_MCA_rmaps_base_oversubscribe"] = "1"

    def compile(self, compiler):
        if not shutil.which(compiler):
            self.skipTest(f"{compiler} isn't installed")
        subprocess.run([compiler, "-o", str(self.folder / "ranks"), str(SOURCE)], check=True, capture_output=True)

    def stand_in(self, name, version="", forwarding='exec "$@"'):
        """A launcher that notes its words and its environment."""
        folder = self.root / "bin"
        folder.mkdir(exist_ok=True)
        script = folder / name
        script.write_text(
            "#!/bin/sh\n"
            f'if [ "$1" = --version ]; then echo "{version}"; exit; fi\n'
            f'printf "%s\\n" "$@" > {self.root}/words\n'
            f"env > {self.root}/environment\n"
            f"{forwarding}\n"
        )
        script.chmod(0o755)
        return f"{folder}:{os.environ['PATH']}"

    def words(self):
        return (self.root / "words").read_text().splitlines()

    def noted_environment(self):
        return (self.root / "environment").read_text()

    def test_ranks_of_real_launchers(self):
        for compiler, launchers in IMPLEMENTATIONS.items():
            for launcher in launchers:
                for ranks in (2, 4):
                    with self.subTest(launcher=launcher, ranks=ranks):
                        self.compile(compiler)
                        result = self.quillon_report(
                            "-v", "-o", "x.json", launcher, "-n", str(ranks), "./ranks", "0.4"
                        )
                        self.assertExit(result, 0)
                        lines = sorted(result.stdout.decode().splitlines())
                        self.assertEqual(lines, [f"rank {i} of {ranks} preloaded" for i in range(ranks)])
                        values = self.values("x.json")
                        self.assertEqual(values["applicationDetails.processes.plain"], ranks)
                        self.assertEqual(values["applicationDetails.profiledRanks"], "All")
                        self.assertEqual(values["applicationDetails.exeName"], "ranks")
                        self.assertEqual(
                            values["applicationDetails.commandLine"], f"{launcher} -n {ranks} ./ranks 0.4"
                        )
                        # No launcher has a spool that would have to be left out.
                        self.assertNotIn(b"left out", result.stderr)

    def test_a_rank_that_is_not_sampled_keeps_nobody(self):
        for compiler, launchers in IMPLEMENTATIONS.items():
            with self.subTest(compiler=compiler):
                self.compile(compiler)
                script = self.folder / "rank.sh"
                script.write_text(
                    "#!/bin/sh\n"
                    '[ "${OMPI_COMM_WORLD_RANK:-$PMI_RANK}" = 2 ] && unset LD_PRELOAD\n'
                    "exec ./ranks 0.4\n"
                )
                script.chmod(0o755)
                begin = time.monotonic()
                result = self.quillon_report("-o", "x.json", launchers[0], "-n", "4", "./rank.sh")
                # Ranks that know no better wait for each other for a minute.
                self.assertLess(time.monotonic() - begin, 30)
                self.assertExit(result, 0)
                lines = sorted(result.stdout.decode().splitlines())
                self.assertEqual(len([line for line in lines if line.endswith(" preloaded")]), 3, lines)
                self.assertEqual(self.values("x.json")["applicationDetails.processes.plain"], 3)
                self.assertNotIn(b"left out", result.stderr)

    def test_groups_of_processes_behind_colons(self):
        for compiler, launchers in IMPLEMENTATIONS.items():
            with self.subTest(compiler=compiler):
                self.compile(compiler)
                result = self.quillon_report(
                    "-o", "x.json", launchers[0], "-n", "1", "./ranks", ":", "-n", "2", "./ranks", "0.4"
                )
                self.assertExit(result, 0)
                self.assertEqual(self.values("x.json")["applicationDetails.processes.plain"], 3)

    def test_variables_that_the_user_forwards(self):
        self.compile("mpicc.openmpi")
        for words, variables in ((("-x", "HOME"), {}), ((), {"OMPI_MCA_mca_base_env_list": "ABC=1"})):
            with self.subTest(words=words):
                result = self.quillon_report(
                    "-o", "x.json", "mpirun.openmpi", *words, "-n", "2", "./ranks", **variables
                )
                self.assertExit(result, 0)
                self.assertEqual(self.values("x.json")["applicationDetails.processes.plain"], 2)

    def test_selected_ranks(self):
        self.compile("mpicc.mpich")
        result = self.quillon_report("--select-ranks=0,2-3", "-o", "x.json", "mpirun.mpich", "-n", "4", "./ranks")
        self.assertExit(result, 0)
        values = self.values("x.json")
        self.assertEqual(values["applicationDetails.processes.plain"], 3)
        self.assertEqual(values["applicationDetails.profiledRanks"], "0,2-3")
        result = self.quillon_report("--select-ranks=7", "-o", "x.json", "mpirun.mpich", "-n", "2", "./ranks")
        self.assertExit(result, 0)
        self.assertIn(b"the job has none of the selected ranks", result.stderr)
        self.assertEqual(self.values("x.json")["applicationDetails.processes.plain"], 2)

    def test_serial_programs_under_a_launcher(self):
        if not shutil.which("mpirun.mpich"):
            self.skipTest("MPICH isn't installed")
        result = self.quillon_report("-o", "x.json", "mpirun.mpich", "-n", "3", CLIENT, "spin", "0.3")
        self.assertExit(result, 0)
        self.assertEqual(self.values("x.json")["applicationDetails.processes.plain"], 3)

    def test_launchers_by_name_get_their_own_flags(self):
        forms = {
            "srun": r"--export=ALL,LD_PRELOAD=[^,]*/libfern-sampler\.so,QUILLON_SAMPLER_SPOOL=/.*",
            "aprun": r"-e\nLD_PRELOAD=.*/libfern-sampler\.so\n-e\nQUILLON_SAMPLER_SPOOL=/.*",
            "jsrun": r"-E\nLD_PRELOAD=.*/libfern-sampler\.so\n-E\nQUILLON_SAMPLER_SPOOL=/.*",
        }
        for name, form in forms.items():
            with self.subTest(name=name):
                path = self.stand_in(name, forwarding="exit 7")
                result = self.quillon_report("-o", "x.json", name, "-n", "2", "./prog", "a b", PATH=path)
                self.assertExit(result, 1)  # nobody has run anything
                self.assertRegex("\n".join(self.words()), form)
                self.assertEqual(self.words()[-4:], ["-n", "2", "./prog", "a b"])
                self.assertNotIn("libfern-sampler", self.noted_environment())

    def test_what_the_user_exports_through_srun_stays(self):
        path = self.stand_in("srun", forwarding="exit 7")
        for typed, form in (
            (["--export=HOME,A=1"], r"\A--export=HOME,A=1,LD_PRELOAD="),
            (["--export", "NONE"], r"\A--export\nLD_PRELOAD="),
            (["-n", "1", "--export=ALL"], r"\A-n\n1\n--export=ALL,LD_PRELOAD="),
        ):
            with self.subTest(typed=typed):
                self.quillon_report("-o", "x.json", "srun", *typed, "/bin/echo", "--export=X", PATH=path)
                self.assertRegex("\n".join(self.words()), form)
                self.assertEqual(self.words()[-2:], ["/bin/echo", "--export=X"])
        self.quillon_report("-o", "x.json", "srun", "/bin/echo", PATH=path, SLURM_EXPORT_ENV="HOME")
        self.assertTrue(self.words()[0].startswith("--export=HOME,LD_PRELOAD="))

    def test_a_job_under_srun(self):
        forwarding = (
            'IFS=,; for v in ${1#--export=}; do case $v in *=*) export "$v";; esac; done; unset IFS; shift 3;'
            ' "$@" & "$@" & wait'
        )
        path = self.stand_in("srun", forwarding=forwarding)
        result = self.quillon_report("-o", "x.json", "srun", "-n", "2", CLIENT, "spin", "0.3", PATH=path)
        self.assertExit(result, 0)
        values = self.values("x.json")
        self.assertEqual(values["applicationDetails.processes.plain"], 2)
        self.assertEqual(values["applicationDetails.commandLine"], f"srun -n 2 {CLIENT} spin 0.3")

    def test_mpirun_is_asked_what_it_is(self):
        for version, flag in (
            ("mpirun (Open MPI) 5.0.1", "-x"),
            ("HYDRA build details:", "-genv"),
            ("Intel(R) MPI Library for Linux* OS", "-genv"),
        ):
            with self.subTest(version=version):
                path = self.stand_in("mpirun", version=version, forwarding="exit 7")
                self.quillon_report("-o", "x.json", "mpirun", "./prog", PATH=path)
                self.assertEqual(self.words()[0], flag)
                self.assertNotIn("libfern-sampler", self.noted_environment())

    def test_launcher_that_nobody_knows_inherits(self):
        path = self.stand_in("mpirun", version="an MPI of our own", forwarding='shift 2; exec "$@"')
        result = self.quillon_report("-o", "x.json", "mpirun", "-n", "1", CLIENT, "spin", "0.2", PATH=path)
        self.assertExit(result, 0)
        self.assertEqual(self.words(), ["-n", "1", CLIENT, "spin", "0.2"])
        self.assertEqual(self.values("x.json")["applicationDetails.processes.plain"], 1)

    def test_launcher_that_fails_is_the_reason_that_there_is_no_profile(self):
        path = self.stand_in("mpirun", version="mpirun (Open MPI) 5.0.1", forwarding="echo no such option >&2; exit 7")
        result = self.quillon_report("-o", "x.json", "mpirun", "--nope", CLIENT, PATH=path)
        self.assertExit(result, 1)
        self.assertTrue(result.stderr.decode().startswith("no such option\n"), result.stderr)
        reason = "'mpirun' ended with exit status 7, and no process of a job has left a profile"
        self.assertIn(reason, result.stderr.decode())
        self.assertEqual(self.files(), [])

    def test_launchers_of_the_configuration(self):
        path = self.stand_in("our-run", forwarding="exit 7")
        folder = self.root / "home" / ".config" / "brivane"
        folder.mkdir(parents=True)
        (folder / "fern.conf").write_text("[launchers]\nhydra=our-run, /nonesuch/mpirun\n")
        self.quillon_report("-o", "x.json", "our-run", "./prog", PATH=path)
        self.assertEqual(self.words()[:2], ["-genv", "LD_PRELOAD"])

    def test_automatic_configuration(self):
        path = self.stand_in("mpirun", version="mpirun (Open MPI) 5.0.1")
        result = self.quillon_report("--autoconfig", PATH=path)
        self.assertExit(result, 0)
        config = self.root / "home" / ".config" / "brivane" / "fern.conf"
        mpirun = self.root / "bin" / "mpirun"
        self.assertIn(f"{mpirun}: openmpi\n", result.stdout.decode())
        self.assertTrue(result.stdout.decode().endswith(f"wrote {config}\n"))
        self.assertRegex(config.read_text(), rf"(?m)^openmpi=.*{re.escape(str(mpirun))}")
        self.assertExit(self.quillon_report("--cleanconfig"), 0)
        self.assertFalse(config.exists())
        self.assertEqual(self.quillon_report("--cleanconfig").stdout.decode(), f"there is no {config}\n")


if __name__ == "__main__":
    unittest.main()
