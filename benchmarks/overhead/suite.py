#!/usr/bin/env python3
"""What the sampler costs: programs of one kind of work each, and real ones, in paired runs. Prints a table.

    benchmarks/overhead/suite.py BUILD [PAIRS [NAME...]]

BUILD is a build folder of the preset "release"; 15 pairs each, some 11 minutes in all where nothing else runs. Ranks
are bound to no core. The table is that of docs/sampler.md; a row whose program isn't there is left out, and named at
the end. NAME is the beginning of a row's name.
"""

import os
import shutil
import statistics
import sys
import tempfile
from pathlib import Path

from pairedruns import paired

HERE = Path(__file__).resolve().parent
RANKS = ["mpirun", "--bind-to", "none", "-n", "2"]
MEMORY = "/dev/shm"  # files of the programs: a disk's own unrest would hide what is looked for


def programs(build):
    """Name, command, and the program that it needs."""
    own = lambda name: str(build / "benchmarks" / f"overhead-{name}")
    melt = ["lmp", "-in", str(HERE / "melt.in"), "-log", "none", "-var", "steps", "900"]
    return [
        ("none", [own("loop")], own("loop")),  # without the sampler in either run
        ("scalar loop", [own("loop")], own("loop")),
        ("vector loop", [own("vector")], own("vector")),
        ("memory-bound loop", [own("memory")], own("memory")),
        ("4,000,000 writes of 64 bytes", [own("writes")], own("writes")),
        ("MPI ping-pong of 8 bytes, 2,000,000 turns", RANKS + [own("pingpong")], own("pingpong")),
        ("MPI allreduce of 8 bytes, 2,000,000 times", RANKS + [own("allreduce")], own("allreduce")),
        ("short OpenMP regions, 750,000 of 2 threads", [own("regions")], own("regions")),
        ("64 threads on a lock, with work between", [own("lock"), "64", "100", "100000"], own("lock")),
        ("64 threads on a lock, without", [own("lock"), "64", "0", "900000"], own("lock")),
        ("LAMMPS, 2 ranks", RANKS + melt, "lmp"),
        ("Clustal Omega, 2 threads", ["clustalo", "-i", "proteins.fasta", "--threads=2"], "clustalo"),
    ]


def write_proteins(folder):
    """120 sequences that are alike, as a family's are; the same ones each time."""
    state = 1
    letters = "ACDEFGHIKLMNPQRSTVWY"

    def draw(count):
        nonlocal state
        state = (state * 6364136223846793005 + 1442695040888963407) % 2**64
        return (state >> 33) % count

    first = [letters[draw(20)] for _ in range(300)]
    with open(folder / "proteins.fasta", "w") as file:
        for n in range(120):
            file.write(f">p{n}\n" + "".join(one if draw(10) < 7 else letters[draw(20)] for one in first) + "\n")


def main():
    if len(sys.argv) < 2 or not Path(sys.argv[1], "benchmarks").is_dir():
        sys.exit(__doc__)
    build = Path(sys.argv[1]).resolve()
    pairs = int(sys.argv[2]) if len(sys.argv) > 2 else 15
    library = next(build.glob("stage/lib*/**/libfern-sampler.so"))
    os.environ.update(
        OMPI_ALLOW_RUN_AS_ROOT="1", OMPI_ALLOW_RUN_AS_ROOT_CONFIRM="1", OMPI_MCA_rmaps_base_oversubscribe="1",
        OMP_NUM_THREADS="2")
    wanted = sys.argv[3:]
    missing = []
    print("| program | time alone | median ratio | quartiles |\n|---|---|---|---|", flush=True)
    with tempfile.TemporaryDirectory(dir=MEMORY) as folder:
        write_proteins(Path(folder))
        for name, command, needs in programs(build):
            if wanted and not name.startswith(tuple(wanted)):
                continue
            if not shutil.which(needs) or command[0] == RANKS[0] and not shutil.which(RANKS[0]):
                missing.append(name)
                continue
            ratios, alone = paired(command, None if name == "none" else str(library), pairs, folder)
            low, median, high = statistics.quantiles(ratios, n=4)
            print(f"| {name} | {alone:.1f} s | {median:.3f} | {low:.3f} to {high:.3f} |", flush=True)
    for name in missing:
        print(f"Left out, since its program isn't installed or built: {name}.", file=sys.stderr)


if __name__ == "__main__":
    main()
