#!/usr/bin/env python3
"""What the merging of the ranks' profiles adds to the end of an MPI job, and what it sends.

    benchmarks/merging/merging.py BUILD [RANKS...]

BUILD is a build folder of the preset "release". Runs a program that only begins and ends MPI with and without the
sampler in turn, under each implementation that is there, on this machine as one node. Then, where processes may have
host names of their own (root), counts the sampler's messages on nodes of 8 ranks, and works out what follows for more.
"""

import math
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
from pathlib import Path

HERE = Path(__file__).parent
FLAVOURS = {"Open MPI": ("mpicc.openmpi", "mpirun.openmpi"), "MPICH": ("mpicc.mpich", "mpiexec.mpich")}
RANKS = (2, 4, 8, 16, 32, 64)
PAIRS = 5
SECONDS = "0.5"
RANKS_OF_NODE = 8

# Assumptions of what is worked out, not measurements: an interconnect and nodes as there are many, and a profile of
# a thousand samples with all the code and program counters that there is room for.
LATENCY_S = 5e-6
BYTES_PER_S = 1e9
MERGE_BYTES_PER_S = 0.5e9
LARGE_NODE = 64
LARGE_PROFILE = 1_000_000

ENVIRONMENT = dict(
    os.environ,
    OMPI_ALLOW_RUN_AS_ROOT="1",
    OMPI_ALLOW_RUN_AS_ROOT_CONFIRM="1",
    OMPI_MCA_rmaps_base_oversubscribe="1",
)


def sampled(library, spools):
    return dict(
        ENVIRONMENT,
        LD_PRELOAD=str(library),
        QUILLON_SAMPLER_SPOOL=spools,
        QUILLON_SAMPLER_EPOCH="1700000000000000000",
        QUILLON_SAMPLER_MERGE="1000",
    )


def seconds(launcher, program, ranks, environment):
    command = [launcher, "-n", str(ranks), program, SECONDS]
    result = subprocess.run(command, env=environment, check=True, capture_output=True, text=True)
    return float(result.stdout)


def measure(library, launcher, program, ranks):
    """Median times of MPI_Finalize alone and sampled, the median of their differences, and the file's size."""
    pairs = []
    size = 0
    for _ in range(PAIRS):
        alone = seconds(launcher, program, ranks, ENVIRONMENT)
        with tempfile.TemporaryDirectory() as spools:
            pairs.append((alone, seconds(launcher, program, ranks, sampled(library, spools))))
            (file,) = Path(spools).glob("*.merged")
            size = file.stat().st_size
    alone, merged = (statistics.median(times) for times in zip(*pairs))
    return alone, merged, statistics.median(second - first for first, second in pairs), size


def count(library, shim, launcher, program, ranks):
    """Sums over the ranks of what the shim counts, on nodes of RANKS_OF_NODE ranks."""
    with tempfile.TemporaryDirectory() as spools:
        counts = Path(spools, "counts.ranks")  # a name that isn't taken for a spool's
        environment = dict(sampled(f"{library} {shim}", spools), COUNT=str(counts))
        script = f'hostname node$((${{OMPI_COMM_WORLD_RANK:-$PMI_RANK}} / {RANKS_OF_NODE})) && exec "$@"'
        command = [launcher, "-n", str(ranks), "unshare", "--uts", "sh", "-c", script, "sh", program, SECONDS]
        subprocess.run(command, env=environment, check=True, capture_output=True)
        rows = [list(map(int, line.split())) for line in counts.read_text().splitlines()]
        assert len(rows) == ranks
        return [sum(column) for column in zip(*rows)]


def work_out(ranks):
    """Steps of rank 0 one after another, its bytes, and seconds, for nodes of LARGE_NODE ranks."""
    nodes = math.ceil(ranks / LARGE_NODE)
    own = math.ceil(math.log2(min(ranks, LARGE_NODE)))
    steps = math.ceil(math.log2(nodes))
    profiles = own + steps
    # Three reductions on the world, forth and back, and per split of the world a gathering of 8 bytes of each rank.
    small = 3 * 2 * math.ceil(math.log2(ranks)) + 2 * math.ceil(math.log2(ranks)) + 2 * 16 * steps
    gathered = 2 * 8 * ranks
    size = profiles * LARGE_PROFILE
    taken = (small + 2 * profiles) * LATENCY_S + (size + gathered) / BYTES_PER_S + size / MERGE_BYTES_PER_S
    return nodes, profiles, (size + gathered) / 1e6, taken


def main():
    if len(sys.argv) < 2 or not Path(sys.argv[1], "stage").is_dir():
        sys.exit(__doc__)
    library = Path(sys.argv[1], "stage/lib/libfern-sampler.so").resolve()
    numbers = [int(word) for word in sys.argv[2:]] or RANKS
    with tempfile.TemporaryDirectory() as folder:
        built = {}
        for flavour, (compiler, launcher) in FLAVOURS.items():
            if shutil.which(compiler) and shutil.which(launcher):
                program, shim = f"{folder}/{launcher}", f"{folder}/{launcher}.so"
                subprocess.run([compiler, "-O2", "-o", program, HERE / "finalize.c"], check=True)
                subprocess.run([compiler, "-O2", "-shared", "-fPIC", "-o", shim, HERE / "count.c", "-ldl"], check=True)
                built[flavour] = (launcher, program, shim)
        print("| MPI | ranks | alone | with merging | ratio | difference | merged file |\n|---|---|---|---|---|---|---|")
        for flavour, (launcher, program, _) in built.items():
            for ranks in numbers:
                alone, merged, difference, size = measure(library, launcher, program, ranks)
                print(
                    f"| {flavour} | {ranks} | {alone:.3f} s | {merged:.3f} s | {merged / alone:.2f} | {difference:.3f} s "
                    f"| {size / 1000:.0f} kB |",
                    flush=True,
                )
        if subprocess.run(["unshare", "--uts", "true"], capture_output=True).returncode == 0:
            print("\n| MPI | ranks | nodes | messages | bytes | reductions of a rank | bytes | splits |")
            print("|---|---|---|---|---|---|---|---|")
            for flavour, (launcher, program, shim) in built.items():
                for ranks in numbers:
                    nodes = math.ceil(ranks / RANKS_OF_NODE)
                    sends, sent, calls, reduced, splits, _ = count(library, shim, launcher, program, ranks)
                    print(
                        f"| {flavour} | {ranks} | {nodes} | {sends:,} | {sent / 1000:,.0f} kB | {calls // ranks} "
                        f"| {reduced // ranks} | {splits // ranks} |",
                        flush=True,
                    )
    print("\n| ranks | nodes | profiles that rank 0 takes | its bytes | time |\n|---|---|---|---|---|")
    for ranks in (64, 1000, 10000, 100000):
        nodes, profiles, megabytes, taken = work_out(ranks)
        print(f"| {ranks:,} | {nodes:,} | {profiles} | {megabytes:.1f} MB | {taken:.3f} s |")


if __name__ == "__main__":
    main()
