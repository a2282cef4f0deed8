#!/usr/bin/env python3
"""What the number of ranks does to a profile and its reports: sizes, times and memory. Prints a table, and draws it.

    benchmarks/scale/scale.py BUILD [FOLDER]

BUILD is a build folder of the preset "release"; the pictures, scale-time.svg and scale-memory.svg, go into FOLDER.
"""

import os
import statistics
import subprocess
import sys
import tempfile
from pathlib import Path

from chart import draw

RANKS = (1, 10, 100, 1000, 10000, 100000)
REPORTS = ("txt", "html", "json")
ROUNDS = 5


def run(command):
    """Seconds of CPU time and peak memory in MiB of a command."""
    child = subprocess.Popen(command)
    _, status, usage = os.wait4(child.pid, 0)
    if status != 0:
        sys.exit(f"{command} failed")
    return usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024


def main():
    if len(sys.argv) not in (2, 3) or not Path(sys.argv[1], "benchmarks").is_dir():
        sys.exit(__doc__)
    build = Path(sys.argv[1])
    rows = []
    print("| ranks | .fern | text | HTML | JSON | peak memory, text |\n|---|---|---|---|---|---|", flush=True)
    with tempfile.TemporaryDirectory() as folder:
        for ranks in RANKS:
            profile = Path(folder, f"{ranks}.fern")
            subprocess.run([build / "benchmarks/scale-profile", str(ranks), profile], check=True)
            times = []
            for kind in REPORTS:
                command = [build / "stage/bin/quillon-report", "-q", "-o", f"{folder}/x.{kind}", profile]
                runs = [run(command) for _ in range(ROUNDS)]
                times.append(1000 * statistics.median(seconds for seconds, _ in runs))
                if kind == "txt":
                    memory = statistics.median(peak for _, peak in runs)
            kilobytes = profile.stat().st_size / 1000
            rows.append((ranks, kilobytes, *times, memory))
            print("| {:,} | {:.0f} kB | {:.0f} ms | {:.0f} ms | {:.0f} ms | {:.1f} MiB |".format(*rows[-1]), flush=True)
    if len(sys.argv) == 3:
        columns = list(zip(*rows))
        pictures = Path(sys.argv[2])
        draw(pictures / "scale-time.svg", RANKS, dict(zip(("text", "HTML", "JSON"), columns[2:5])), "ms")
        draw(pictures / "scale-memory.svg", RANKS, {"peak memory of the text report": columns[5]}, "MiB")


if __name__ == "__main__":
    main()
