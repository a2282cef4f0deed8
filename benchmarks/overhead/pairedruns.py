#!/usr/bin/env python3
"""How much longer a program takes under the sampler: runs with and without it in turn.

    benchmarks/overhead/pairedruns.py LIBRARY PAIRS PROGRAM [ARGUMENT...]

LIBRARY is libfern-sampler.so; "none" compares runs without it with each other, which shows what a machine's own unrest
makes of a ratio. Prints the median of the ratios of the pairs, and their quartiles.
"""

import os
import statistics
import subprocess
import sys
import tempfile
import time


def seconds(command, library, folder=None):
    """The time from a command's start to its end, sampled by a library or not."""
    with tempfile.TemporaryDirectory() as spool:
        environment = dict(os.environ)
        if library:
            # As quillon-report does, ranks merge their profiles at the end.
            environment.update(LD_PRELOAD=library, QUILLON_SAMPLER_SPOOL=spool, QUILLON_SAMPLER_MERGE="1000")
        start = time.perf_counter()
        subprocess.run(
            command, env=environment, cwd=folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)
        return time.perf_counter() - start


def paired(command, library, pairs, folder=None):
    """Ratios of the times of pairs, and the median time without the sampler."""
    ratios = []
    alone = []
    for pair in range(pairs):
        # Each comes first in every other pair: a machine that gets slower favours neither.
        taken = {}
        for sampled in (True, False) if pair % 2 else (False, True):
            taken[sampled] = seconds(command, library if sampled else None, folder)
        ratios.append(taken[True] / taken[False])
        alone.append(taken[False])
    return ratios, statistics.median(alone)


def main():
    if len(sys.argv) < 4 or not sys.argv[2].isdigit() or int(sys.argv[2]) < 2:
        sys.exit(__doc__)
    library = None if sys.argv[1] == "none" else os.path.abspath(sys.argv[1])
    ratios, alone = paired(sys.argv[3:], library, int(sys.argv[2]))
    low, median, high = statistics.quantiles(ratios, n=4)
    print(f"median {median:.4f}, quartiles {low:.4f} and {high:.4f}, of {len(ratios)} pairs of {alone:.2f} s")


if __name__ == "__main__":
    main()
