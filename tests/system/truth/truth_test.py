"""What reports state of real programs, against a clock that stands in front of the sampler in the same run."""

import json
import math
import os
import random
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

TOOL = os.environ["QUILLON_REPORT"]
CLOCK = os.environ["TRUTH_LIBRARY"]
MPIRUN = os.environ["QUILLON_MPIRUN"]

# How far a share may be off, in points of percent, beyond what chance does. Runs of 10 seconds on an idle machine are
# held to 2 in all.
POINTS = float(os.environ.get("TRUTH_POINTS", "5"))
# How long each run lasts, in seconds of a quiet machine with two processors of 2026.
LENGTH = int(os.environ.get("TRUTH_LENGTH", "2"))

ENVIRONMENT = dict(
    os.environ,
    OMPI_ALLOW_RUN_AS_ROOT="1",
    OMPI_ALLOW_RUN_AS_ROOT_CONFIRM="1",
    OMPI_MCA_rmaps_base_oversubscribe="1",
    LC_ALL="C",
)

# Atoms that fill the box, or half of it, so that one rank of two has hardly anything to do.
ATOMS = """units lj
atom_style atomic
lattice fcc 0.8442
region box block 0 {length} 0 14 0 14
create_box 1 box
region filled block 0 {filled} 0 14 0 14
create_atoms 1 region filled
mass 1 1.0
velocity all create 1.0 87287
pair_style lj/cut 2.5
pair_coeff 1 1 1.0 1.0 2.5
neighbor 0.3 bin
fix 1 all nve
thermo 10
run {steps}
"""

# A pseudopotential of hydrogen, and a molecule of it in a box.
ATOM_OF_HYDROGEN = """&input
 title='H', zed=1.0, rel=0, config='1s1', iswitch=3, dft='PZ'
/
&inputp
 pseudotype=1, file_pseudopw='H.UPF', tm=.true., lloc=0
/
1
1S 1 0 1.00 0.00 0.90 0.90
"""
MOLECULE = """&control
 calculation='scf', pseudo_dir='.', outdir='out', prefix='h2'
/
&system
 ibrav=1, celldm(1)={size}, nat=2, ntyp=1, ecutwfc=40
/
&electrons
 conv_thr=1d-10
/
ATOMIC_SPECIES
H 1.0 H.UPF
ATOMIC_POSITIONS bohr
H 0.0 0.0 0.0
H 1.4 0.0 0.0
K_POINTS gamma
"""

# Tasks of different lengths dealt out to all; results are gathered as pickled objects.
PYTHON = """import math
from mpi4py import MPI
world = MPI.COMM_WORLD
for turn in range({turns}):
    task = world.scatter([100000 * (1 + (turn + rank) % 3) for rank in range(world.size)])
    found = sum(math.sin(i) for i in range(task))
    world.gather([found] * 1000)
    world.barrier()
"""

PROTEINS = "ACDEFGHIKLMNPQRSTVWY"


def proteins(count, length):
    """Sequences that are alike, as a family's are."""
    dice = random.Random(1)
    first = [dice.choice(PROTEINS) for _ in range(length)]
    family = []
    for n in range(count):
        letters = [letter if dice.random() < 0.7 else dice.choice(PROTEINS) for letter in first]
        family.append(f">p{n}\n{''.join(letters)}\n")
    return "".join(family)


def words(megabytes):
    dice = random.Random(2)
    line = lambda: " ".join(f"{dice.getrandbits(40):x}" for _ in range(6)) + "\n"
    block = "".join(line() for _ in range(15000))
    return block * megabytes


class Truth(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)

    def needs(self, program):
        if not shutil.which(program):
            self.skipTest(f"Requires {program}")

    def write(self, name, text):
        self.folder.joinpath(name).write_text(text)

    def run_plain(self, *command, **options):
        done = subprocess.run(command, cwd=self.folder, env=ENVIRONMENT, capture_output=True, timeout=300, **options)
        self.assertEqual(done.returncode, 0, done.stderr)

    def report_of(self, ranks, script, processes=1):
        """Data of the report of a command, and the clock's figures, added up over `processes` processes."""
        launch = [MPIRUN, "--bind-to", "none", "-n", str(ranks)] if ranks else []
        clocked = f'LD_PRELOAD={CLOCK}:$LD_PRELOAD TRUTH_CLOCK={self.folder}/clock exec {script}'
        done = subprocess.run(
            [TOOL, "-o", "report.json", *launch, "sh", "-c", clocked],
            cwd=self.folder, env=ENVIRONMENT, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, timeout=300)
        self.assertEqual(done.returncode, 0, done.stderr)
        figures = {}
        files = sorted(self.folder.glob("clock.[0-9]*"))
        self.assertEqual(len(files), processes, files)
        for file in files:
            for line in file.read_text().splitlines():
                name, seconds = line.split()
                figures[name] = figures.get(name, 0.0) + float(seconds)
        return json.loads(self.folder.joinpath("report.json").read_text())["data"], figures

    def compare(self, what, stated, measured, seconds, looks=250):
        """Shares in percent of `seconds` of threads, at each of which the sampler looks so many times a second."""
        chance = 2 * math.sqrt(max(0.0, measured * (100 - measured)) / (looks * seconds))
        print(f"{self.id().split('.')[-1]}: {what} stated {stated:.1f}, measured {measured:.1f}, chance {chance:.1f}")
        self.assertAlmostEqual(stated, measured, delta=POINTS + chance, msg=what)

    def compare_overview(self, data, clock):
        for kind, seconds in (("mpi", clock["mpi"]), ("io", clock["read"] + clock["write"])):
            self.compare(kind, data["overview"][kind]["percent"], 100 * seconds / clock["main"], clock["main"])

    def test_molecular_dynamics_that_exchanges_messages(self):
        self.needs("lmp")
        self.write("atoms.in", ATOMS.format(length=14, filled=14, steps=350 * LENGTH))
        data, clock = self.report_of(2, "lmp -in atoms.in -log none", 2)
        self.assertGreater(clock["mpi"], 0)
        self.compare_overview(data, clock)

    def test_molecular_dynamics_out_of_balance(self):
        self.needs("lmp")
        self.write("atoms.in", ATOMS.format(length=28, filled=13, steps=200 * LENGTH))
        data, clock = self.report_of(2, "lmp -in atoms.in -log none", 2)
        self.assertGreater(clock["mpi"] / clock["main"], 0.3)
        self.compare_overview(data, clock)

    def test_electronic_structure_in_fortran(self):
        self.needs("pw.x")
        self.run_plain("ld1.x", input=ATOM_OF_HYDROGEN.encode())
        self.write("molecule.in", MOLECULE.format(size=round(42 * (LENGTH / 10) ** (1 / 3))))
        data, clock = self.report_of(2, "pw.x -in molecule.in", 2)
        self.assertGreater(clock["mpi"], 0)
        self.compare_overview(data, clock)

    def test_python_with_mpi(self):
        if subprocess.run(["/usr/bin/python3", "-c", "import mpi4py"], capture_output=True).returncode:
            self.skipTest("Requires the package python3-mpi4py")
        self.write("tasks.py", PYTHON.format(turns=70 * LENGTH))
        data, clock = self.report_of(2, "/usr/bin/python3 tasks.py", 2)
        self.assertGreater(clock["mpi"], 0)
        self.compare_overview(data, clock)

    def test_alignment_with_openmp(self):
        self.needs("clustalo")
        self.write("proteins.fasta", proteins(round(255 * math.sqrt(LENGTH)), 250))
        data, clock = self.report_of(0, "clustalo -i proteins.fasta -o aligned --threads=2 --force")
        self.assertGreater(clock["omp"], 0)
        stated = data["overview"]["cpu"]["percent"] * data["cpu"]["openMpPercent"] / 100
        self.compare("OpenMP", stated, 100 * clock["omp"] / clock["main"], clock["main"])

    def test_compression_with_threads(self):
        self.needs("pigz")
        self.write("text", words(30 * LENGTH))
        data, clock = self.report_of(0, "pigz -9 -p 3 -k text")
        waits = clock["sync"] + clock["threadSync"]
        computes = clock["threads"] - clock["threadSync"] - clock["threadRead"] - clock["threadWrite"]
        self.compare("synchronizing", data["threads"]["syncPercent"], 100 * waits / (waits + computes), clock["threads"],
                     looks=100)

    def test_counting_lines(self):
        """Calls of some microseconds: shorter ones would show the clock's own time."""
        self.needs("wc")
        self.write("text", words(60))
        data, clock = self.report_of(0, "wc -l" + 124 * LENGTH * " text")
        self.assertGreater(clock["read"], 0)
        self.compare_overview(data, clock)


if __name__ == "__main__":
    unittest.main(verbosity=2)
