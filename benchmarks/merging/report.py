#!/usr/bin/env python3
"""Where the time from a job's end to its last report goes, by --verbose: text and HTML of jobs of 1 to 64 ranks.

    benchmarks/merging/report.py BUILD [RANKS...]

BUILD is a build folder of the preset "release". Jobs end well, so that their ranks merge their profiles, or are killed,
so that the tool merges what each left. Spools have 500 to 1,000 bins. Of some runs that with the shortest way is shown.
"""

import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

from merging import ENVIRONMENT, FLAVOURS, HERE

RANKS = (1, 16, 64)
RUNS = 5
STAGES = ("looking at what the processes left", "merging it to a profile", "figures and sentences", "making", "writing it")
WHOLE = "from the job's end to the last file"


def stages(build, folder, command):
    """Milliseconds by stage of one run."""
    words = [build / "stage/bin/quillon-report", "-v", "--interval=2", *command]
    messages = subprocess.run(words, env=ENVIRONMENT, cwd=folder, capture_output=True, text=True).stderr
    times = dict.fromkeys((*STAGES, WHOLE), 0.0)
    for name, ms in re.findall(r"^quillon-report: (.*): ([0-9.]+) ms$", messages, re.M):
        for stage in times:
            if name.startswith(stage) and "before the job" not in name:
                times[stage] += float(ms)
    if not times[WHOLE]:
        sys.exit(messages)
    return times


def main():
    if len(sys.argv) < 2 or not Path(sys.argv[1], "stage").is_dir():
        sys.exit(__doc__)
    build = Path(sys.argv[1]).resolve()
    numbers = [int(word) for word in sys.argv[2:]] or RANKS
    print("| MPI | ranks | end | look | merge | figures | making | writing | all |\n|---|---|---|---|---|---|---|---|---|")
    with tempfile.TemporaryDirectory() as folder:
        for flavour, (compiler, launcher) in FLAVOURS.items():
            if not shutil.which(compiler) or not shutil.which(launcher):
                continue
            program = f"{folder}/{launcher}"
            subprocess.run([compiler, "-O2", "-o", program, HERE / "finalize.c"], check=True)
            for ranks in numbers:
                for end, words in (("well", ()), ("killed", ("kill",))):
                    command = [launcher, "-n", str(ranks), program, "2.5", *words]
                    best = min((stages(build, folder, command) for _ in range(RUNS)), key=lambda times: times[WHOLE])
                    times = " | ".join(f"{ms:.0f} ms" for ms in best.values())
                    print(f"| {flavour} | {ranks} | {end} | {times} |", flush=True)


if __name__ == "__main__":
    main()
