#!/usr/bin/env python3
"""What the number of ranks does to a profile and its reports: sizes, times and memory. Prints a table, and draws it.

    benchmarks/scale/scale.py BUILD [PICTURE.svg]

BUILD is a build folder of the preset "release". The picture needs gnuplot.
"""

import os
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

RANKS = (1, 10, 100, 1000, 10000, 100000)
REPORTS = ("txt", "html", "json")
ROUNDS = 5

PLOT = """set terminal svg size 720,360 font "sans-serif,13" background "white"
set output "{picture}"
set logscale x
set xlabel "ranks"
set ylabel "time of the whole command, ms"
set yrange [0:*]
set y2label "peak memory, MiB"
set y2range [0:*]
set ytics nomirror
set y2tics
set key outside top center horizontal
set grid ytics linecolor rgb "#dddddd"
plot "{data}" using 1:3 with linespoints linewidth 2 pointtype 7 title "text", \\
     "" using 1:4 with linespoints linewidth 2 pointtype 5 title "HTML", \\
     "" using 1:5 with linespoints linewidth 2 pointtype 9 title "JSON", \\
     "" using 1:6 axes x1y2 with linespoints linewidth 2 dashtype 2 pointtype 6 title "memory, text"
"""


def run(command):
    """Seconds and peak memory in MiB of a command."""
    start = time.perf_counter()
    child = subprocess.Popen(command)
    _, status, usage = os.wait4(child.pid, 0)
    if status != 0:
        sys.exit(f"{command} failed")
    return time.perf_counter() - start, usage.ru_maxrss / 1024


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
            data = Path(folder, "data")
            data.write_text("".join(" ".join(map(str, row)) + "\n" for row in rows))
            plot = PLOT.format(picture=sys.argv[2], data=data)
            subprocess.run(["gnuplot"], input=plot, text=True, check=True)


if __name__ == "__main__":
    main()
