# Letters of several scripts, combining and wide characters, signs outside the first plane, right to left.
start 2026-02-28T12:34:56
target /home/jürgen.example/Überströmung/プログラム
command-line mpirun -n 3 ./プログラム --name "Ångström ∑ ½" --emoji 🚀 --עברית שלום --combining é
host-name rechner-köln.example
profiled-ranks All
omp-num-threads 1
notes Läuft auf dem größten Knoten; 日本語のメモ; заметка; ملاحظة; 🧪 ε ≈ 10⁻⁶
processes 3
nodes 1
samples 12 1500
cores 8 4
main compute 310
main mpi_collective 80
main mpi_p2p 50
main io_write 10
alone compute 310
alone mpi_collective 80
alone mpi_p2p 50
active-cores 0.95 1
series instr_vector_fp 6
series instr_vector_int 1
series instr_fp 26
series instr_int 21
series instr_mem 31
series mpi_collective_bytes 3.3e6
series mpi_p2p_bytes 6.6e6
whole-run bytes_read 3*1e6
whole-run bytes_written 3*3.1e7
readings rss 3e8,3.1e8
series node_mem_percent 47
series load_avg 77
whole-run memory_per_node 1.7e10
