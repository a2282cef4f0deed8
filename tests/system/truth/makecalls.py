"""Writes CALL(name) for each function that an mpi.h declares, with its names for Fortran: makecalls.py mpi.h OUTPUT"""

import re
import sys
from pathlib import Path

# Not waits, and some give a double or an address; where MPI ends, the clock stops.
LEFT_OUT = re.compile(r"MPI_(Finalize|Wtime|Wtick|Pcontrol|Aint_\w+|\w+_f2c|\w+_c2f|\w+_f082c|\w+_c2f08|\w+_f2f08|\w+_f082f|T_\w+)$")

names = sorted(set(re.findall(r"\b(MPI_[A-Z]\w*)\s*\(", Path(sys.argv[1]).read_text())))
functions = [name for name in names if re.search("[a-z]", name) and not LEFT_OUT.match(name)]
lines = [f"CALL({name})\nCALL({name.lower()}_)\nCALL({name.lower()}_f08_)\n" for name in functions]
Path(sys.argv[2]).write_text("".join(lines))
